// Ini files: the loader (comments, sections, option lines, the value rules,
// continuation lines, error reports with line numbers, storage bounds), the
// model (selection, typed queries, changes, deletion, cursors) and the writer
// (exact layout, escapes, typed entries, files, round trips).
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "kiv_filename.hpp"
#include "kiv_inifile.hpp"
#include "kiv_inifilesave.hpp"
#include "kiv_memmgr.hpp"
#include "kiv_test_support.hpp"

using namespace kivtest;

namespace {

using Names = std::vector<std::string>;

// Names of all sections, or of the options of one section, in list order.
Names sectionNames(const KivClIniFile& ini) {
    Names names;
    KivClIniFileSectionCursor cursor(ini);
    for (cursor.setToFirst(); cursor.isValid(); cursor.setToNext()) names.emplace_back(cursor.getSection());
    return names;
}

Names optionNames(const KivClIniFile& ini, const KivClIniFileSection* section) {
    Names names;
    KivClIniFileOptionCursor cursor(ini, section);
    for (cursor.setToFirst(); cursor.isValid(); cursor.setToNext()) names.emplace_back(cursor.getOption());
    return names;
}

bool loadText(KivClIniFile& ini, const std::string& text, bool newSection = true, bool continuation = false) {
    return ini.loadFromBuffer(text.data(), static_cast<unsigned int>(text.size()), '\n', newSection, continuation);
}

// Value and comment of an option, or "<missing>" for both.
std::pair<std::string, std::string> entry(const KivClIniFile& ini, const char* section, const char* name) {
    const char* value = nullptr;
    const char* comment = nullptr;
    if (!ini.getSection(section) || !ini.getOption(name, value, comment)) return {"<missing>", "<missing>"};
    return {value, comment};
}


struct Expected { const char* name; std::string value, comment; };

void expectOptions(const KivClIniFile& ini, const char* section, const std::vector<Expected>& table) {
    for (const Expected& row : table) {
        EXPECT_EQ(entry(ini, section, row.name), std::make_pair(row.value, row.comment)) << row.name;
    }
}

// Records loader reports as (error id, line) pairs; when stopAt is not 0,
// asks to stop at that report (1-based).
using Report = std::pair<uint32_t, unsigned int>;
struct Recorder {
    std::vector<Report> reports;
    size_t stopAt = 0;
    bool wrongClass = false;

    void attach(KivClIniFile& ini) { ini.setErrorHandler(&Recorder::handle, this); }
    static bool handle(const _KivStError& error, unsigned int line, void* data) {
        Recorder* self = static_cast<Recorder*>(data);
        self->reports.emplace_back(error.errorId, line);
        self->wrongClass = self->wrongClass || error.errorClass != KIV_ERRCLASS_USER_DATA_ERROR;
        return self->stopAt == 0 || self->reports.size() < self->stopAt;
    }
};

// An ini file loaded from text with a recording handler installed.
struct LoadedIni {
    explicit LoadedIni(const std::string& text, bool newSection = true, bool continuation = false,
                       size_t stopAt = 0)
        : ini(KivClFilename("unused")) {
        recorder.stopAt = stopAt;
        recorder.attach(ini);
        result = loadText(ini, text, newSection, continuation);
    }
    KivClIniFile ini;
    Recorder recorder;
    bool result;
};

const uint32_t kSection = KIV_ERRID_INIFILE_INVAL_SECTION;
const uint32_t kOption = KIV_ERRID_INIFILE_INVAL_OPTION;
const uint32_t kBlank = KIV_ERRID_INIFILE_INVAL_WHITESPACE;

// The number of blocks the failing allocator below still grants.
int allocationsLeft = 0;

const char kSample[] =
    "[Numbers]\nlong=-12abc ; a long\nulong=4294967296\nint=  42\nuint=4000000000\ntext=abc\nempty=\n"
    "[Flags]\nyes=yes\nOn=On\none=1\nok=ok\nempty=\nn=n\nrue=rue\nno=no\noff=off\nzero=0\n"
    "[numbers]\nsecond=1\n";

// Converts the option through both name-based overloads and an option
// cursor; all three must find it and give expected.
template <typename Type>
void expectConverted(const KivClIniFile& ini, const char* name, Type expected) {
    Type byName{};
    Type withComment{};
    Type byCursor{};
    const char* note = nullptr;
    EXPECT_TRUE(ini.getOption(name, byName) && ini.getOption(name, withComment, note)) << name;
    KivClIniFileOptionCursor cursor(ini);
    EXPECT_TRUE(cursor.setTo(name)) << name;
    EXPECT_STREQ(cursor.getValue(byCursor), cursor.getValue()) << name;
    EXPECT_TRUE(byName == expected && withComment == expected && byCursor == expected) << name;
    EXPECT_STREQ(note, cursor.getComment()) << name;
}

// Every query form for a missing option leaves value and comment unchanged.
template <typename Type>
bool untouched(const KivClIniFile& ini, Type sentinel) {
    Type value = sentinel;
    const char* note = "kept";
    KivClIniFileOptionCursor cursor(ini);
    const bool found = ini.getOption("absent", value) || ini.getOption("absent", value, note) ||
                       cursor.setTo("absent") || *cursor.getValue(value) != '\0';
    return !found && value == sentinel && std::string(note) == "kept";
}

std::string saved(KivClIniFileSave& ini) {
    std::ostringstream out;
    EXPECT_TRUE(ini.save(out));
    return out.str();
}

}  // namespace

TEST(IniLoader, CommentsSectionHeadersAndOptionNames) {
    LoadedIni loaded("lost=1\nno equals sign\n   indented\n; c\n\n \t \n[ Two Words ] tail\n"
                     "  ; indented comment\nx=2\n[" + std::string(100, 'n') + "]\n[]\n");
    const KivClIniFile& ini = loaded.ini;
    EXPECT_TRUE(loaded.result && loaded.recorder.reports.empty());
    EXPECT_EQ(sectionNames(ini), (Names{" Two Words ", std::string(80, 'n'), ""}));
    EXPECT_EQ(entry(ini, " two words ", "x").first, "2");

    // Blanks in names are dropped; options of one name are all kept.
    LoadedIni merged("[A]\na=1\n[B]\nb=1\n[a]\nmy name \t= v\ndup=1\nDUP=2\n", false);
    EXPECT_EQ(sectionNames(merged.ini), (Names{"A", "B"}));
    EXPECT_EQ(optionNames(merged.ini, merged.ini.getFirstSection()), (Names{"a", "myname", "dup", "DUP"}));
    expectOptions(merged.ini, "A", {{"myname", "v", ""}, {"dup", "1", ""}});
    LoadedIni separate("[A]\na=1\n[a]\nc=2\n", true);
    EXPECT_EQ(sectionNames(separate.ini), (Names{"A", "a"}));
    EXPECT_EQ(entry(separate.ini, "A", "c").first, "<missing>");
}

TEST(IniLoader, ValueRulesQuotesEscapesReferencesAndComments) {
    ScopedEnv set("KIVINI_TEST_VAR", "  val  ");
    ScopedEnv unset("KIVINI_UNSET_VAR", nullptr);
    // Each row: the text after "name=" on its own line, the value and comment.
    const struct { const char* name; std::string text, value, comment; } rows[] = {
        {"plain", "  plain value   ; the comment  ", "plain value", "the comment  "},
        {"blank", "' '", " ", ""},                  {"tabq", "\"x\\ty\"", "x\ty", ""},
        {"tabraw", "x\\ty", "x\\ty", ""},             {"open", "\"abc", "abc", ""},
        {"chr", "'\\n'", "\n", ""},                  {"chr2", "'ab", "a", ""},
        {"chr3", "'", "", ""},                      {"chr4", "'\\", "", ""},
        {"semi", "\"a;b\" ; c", "a;b", "c"},         {"padded", "  \"  padded  \"  ", "  padded  ", ""},
        {"mixed", "  \"q\"  x  ", "q  x", ""},       {"tail", "trail \"  \"", "trail   ", ""},
        {"esc", "\"\\x41\\101\\q\\\\\\\"\\a\\b\\f\\r\\v\"", "AAq\\\"\a\b\f\r\v", ""},
        {"hexlong", "\"\\x4a7\"", "\xa7", ""},        {"barex", "\"\\xg\\x 1\\x-1\"", "xgx 1x-1", ""},
        {"eight", "\"a\\8b\"", "ab", ""},            {"nul", "\"a\\x00-b\"", "a-b", ""},
        {"onlycomment", ";only comment", "", "only comment"},
        {"emptycomment", "a;", "a", ""},            {"dollar", "a$b$(c", "a$b$(c", ""},
        // A reference runs to the next ")": "KIVINI_TEST_VAR;x" names no variable.
        {"env", "$(KIVINI_TEST_VAR)x", "  val  x", ""}, {"envtail", "$(KIVINI_TEST_VAR)   ", "  val  ", ""},
        {"unset", "<$(KIVINI_UNSET_VAR)>", "<>", ""}, {"longname", "$(" + std::string(41, 'V') + ")z", "z", ""},
        {"quotedref", "\"$(KIVINI_TEST_VAR)\"", "$(KIVINI_TEST_VAR)", ""},
        {"semiref", "$(KIVINI_TEST_VAR;x)", "", ""},
    };
    std::string text = "[V]\n";
    for (const auto& row : rows) text += std::string(row.name) + "=" + row.text + "\n";
    KivClIniFile ini(KivClFilename("unused"));
    ASSERT_TRUE(loadText(ini, text));
    for (const auto& row : rows) {
        EXPECT_EQ(entry(ini, "V", row.name), std::make_pair(row.value, row.comment)) << row.text;
    }
}

TEST(IniLoader, ContinuationLines) {
    // Each continuation replaces the comment; an indented header is a
    // continuation too, and a header ends continuation.
    LoadedIni joined("[S]\na=one\n  two ; c2\n\t\"3 \"\n  [T]\nb=x ; keep\n[U]\n  more\n", true, true);
    EXPECT_EQ(joined.recorder.reports, (std::vector<Report>{{kBlank, 8}}));
    EXPECT_EQ(sectionNames(joined.ini), (Names{"S", "U"}));
    expectOptions(joined.ini, "S", {{"a", "onetwo3 [T]", ""}, {"b", "x", "keep"}});
}

TEST(IniLoader, FileFullOfErrorsReportsEveryIdWithItsLine) {
    const std::string text =
        "; header comment\n"      // 1
        "orphan=1\n"              // 2 ignored: before the first section
        "  orphan indented\n"     // 3 ignored
        "[ok]\n"                  // 4
        "good=1\n"                // 5
        "no equals\n"             // 6 option
        "   continued\n"          // 7 whitespace (no continuation)
        "\n"                      // 8
        "[unclosed\n"             // 9 section
        "still=ok\n"              // 10 goes into [ok]
        "; x\n"                   // 11
        "  after comment\n"       // 12 whitespace
        "=no name\n"              // 13 an option with an empty name
        "[second]\n"              // 14
        "  right after header\n"  // 15 whitespace
        "[\n"                     // 16 section
        "last=2";                 // 17 no final delimiter
    const std::vector<Report> expected = {{kOption, 6}, {kBlank, 7},  {kSection, 9},
                                          {kBlank, 12}, {kBlank, 15}, {kSection, 16}};
    LoadedIni loaded(text);
    EXPECT_TRUE(loaded.result);
    EXPECT_EQ(loaded.recorder.reports, expected);
    EXPECT_FALSE(loaded.recorder.wrongClass);
    EXPECT_EQ(loaded.ini.getLineNumber(), 17u);
    EXPECT_EQ(optionNames(loaded.ini, loaded.ini.getFirstSection()), (Names{"good", "still", ""}));
    expectOptions(loaded.ini, "ok", {{"good", "1", ""}, {"", "no name", ""}});
    EXPECT_EQ(entry(loaded.ini, "second", "last").first, "2");

    LoadedIni stopped(text, true, false, 3);
    EXPECT_FALSE(stopped.result);
    EXPECT_EQ(stopped.recorder.reports, std::vector<Report>(expected.begin(), expected.begin() + 3));
    EXPECT_EQ(stopped.ini.getLineNumber(), 9u);
    EXPECT_EQ(stopped.ini.getSelectedSection(), nullptr);
    EXPECT_EQ(optionNames(stopped.ini, stopped.ini.getFirstSection()), Names{"good"});
    // Without a handler a report says go on.
    stopped.ini.setErrorHandler(nullptr, nullptr);
    EXPECT_TRUE(stopped.ini.error(kOption));
    EXPECT_EQ(stopped.recorder.reports.size(), 3u);
}

TEST(IniLoader, BufferLengthDelimiterAndLineLimits) {
    LoadedIni empty("");
    KivClIniFile& ini = empty.ini;
    const std::vector<Report>& reports = empty.recorder.reports;
    // Only the first eleven characters count: "b=2" is never seen.
    EXPECT_TRUE(ini.loadFromBuffer("[S]|a=1|bad|b=2", 11, '|', true, false));
    EXPECT_EQ(optionNames(ini, ini.getFirstSection()), Names{"a"});
    EXPECT_EQ(reports, (std::vector<Report>{{kOption, 3}}));
    // The line number goes on from the previous load, and a section the
    // caller selected does not take lines before the first header.
    ASSERT_TRUE(ini.getSection("S"));
    EXPECT_TRUE(ini.loadFromBuffer("b=1\n[T]\nbad\n", 12, '\n', true, false));
    EXPECT_EQ(reports.back(), Report(kOption, 6));
    EXPECT_EQ(optionNames(ini, ini.getFirstSection()), Names{"a"});
    EXPECT_TRUE(ini.loadFromBuffer(nullptr, 100, '\n', true, false) && ini.loadFromBuffer("", 0, '\n', true, false));
    EXPECT_EQ(ini.getLineNumber(), 6u);
    // Characters after an embedded zero byte are not part of the line.
    const char withZero[] = "[Z]\na=1\0tail\nb=2\n";
    EXPECT_TRUE(ini.loadFromBuffer(withZero, sizeof(withZero) - 1, '\n', true, false));
    expectOptions(ini, "Z", {{"a", "1", ""}, {"b", "2", ""}});

    // A line over 1,023 characters is cut there and is the last one loaded,
    // and the load reports that the input was not read to its end.
    LoadedIni longLine("[S]\nv=" + std::string(2000, 'x') + "\nafter=1\n");
    EXPECT_FALSE(longLine.result);
    EXPECT_EQ(optionNames(longLine.ini, longLine.ini.getFirstSection()), Names{"v"});
    EXPECT_EQ(entry(longLine.ini, "S", "v").first, std::string(1021, 'x'));
    EXPECT_EQ(longLine.ini.getLineNumber(), 2u);
    LoadedIni exact("[S]\nv=" + std::string(1020, 'y') + ";\nafter=1\n");
    EXPECT_TRUE(exact.result);
    expectOptions(exact.ini, "S", {{"v", std::string(1020, 'y'), ""}, {"after", "1", ""}});
}

TEST(IniLoader, StorageBoundsCutValuesAndReportTheLine) {
    const std::string huge(3000, 'e');
    ScopedEnv variable("KIVINI_HUGE", huge.c_str());
    const std::string text = "[S]\n"
                             "n=$(KIVINI_HUGE) ; c\n"                    // 2: value cut
                             "long=" + std::string(800, 'a') + "\n"      // 3
                             "  " + std::string(800, 'b') + " ; note\n"  // 4: continuation cut
                             "m=" + std::string(1000, 'x') + "\n"        // 5
                             "  y ; " + std::string(100, 'c') + "\n"     // 6: comment cut
                             "ok=1\n";
    LoadedIni loaded(text, true, true);
    EXPECT_TRUE(loaded.result);
    EXPECT_EQ(loaded.recorder.reports, (std::vector<Report>{{kOption, 2}, {kOption, 4}, {kOption, 6}}));
    // Name, value and both terminators fill the first 1,024 characters; the
    // comment gets what is left of the 1,028.
    expectOptions(loaded.ini, "S",
                  {{"n", std::string(1021, 'e'), "c"},
                   {"long", std::string(800, 'a') + std::string(1024 - 2 - 4 - 800, 'b'), "not"},
                   {"m", std::string(1000, 'x') + "y", std::string(1028 - 2 - 1002 - 1, 'c')},
                   {"ok", "1", ""}});
    // A handler may stop at the cut line; the cut option stays loaded.
    LoadedIni stopped(text, true, true, 1);
    EXPECT_FALSE(stopped.result);
    EXPECT_EQ(optionNames(stopped.ini, stopped.ini.getFirstSection()), Names{"n"});
}

TEST(IniLoader, LoadsTheNamedFile) {
    TempDir dir;
    writeFile(dir.file("conf.ini"), "[A]\nx=1\n[a]\ny=2\n  z\n");
    KivClIniFile ini(KivClFilename(dir.file("conf").c_str()));  // ".ini" is added
    Recorder recorder;
    recorder.attach(ini);
    EXPECT_TRUE(ini.load(false));
    EXPECT_EQ(sectionNames(ini), (Names{"A", "a"}));
    EXPECT_EQ(recorder.reports, (std::vector<Report>{{kBlank, 5}}));
    // A second load resets the line number and appends.
    EXPECT_TRUE(ini.load(true));
    EXPECT_EQ(sectionNames(ini), (Names{"A", "a", "A", "a"}));
    EXPECT_EQ(recorder.reports.size(), 1u);
    EXPECT_EQ(ini.getLineNumber(), 5u);

    ASSERT_EQ(::mkdir(dir.file("sub.ini").c_str(), 0700), 0);
    for (const char* name : {"absent.ini", "sub.ini"}) {  // a missing file, a directory
        KivClIniFile missing(KivClFilename(dir.file(name).c_str()));
        recorder.attach(missing);
        EXPECT_FALSE(missing.load(false)) << missing.getAsCString();
        EXPECT_EQ(recorder.reports.size(), 1u);
    }
}

TEST(IniLoader, QuotedCharacterAndEscapeHelpers) {
    // {text, read as a quoted character (else as an escape), result, rest}
    const std::tuple<const char*, bool, char, const char*> cases[] = {
        {"'\\x41'rest", true, 'A', "rest"}, {"'", true, '\0', ""}, {"177x", false, '\177', "x"},
        {"x1FFz", false, '\xff', "z"},      {"x-1", false, 'x', "-1"}, {"", false, '\0', ""},
    };
    for (const auto& [start, quoted, expected, rest] : cases) {
        const char* text = start;
        const char result = quoted ? kivIniFileGetQuotedCharacter(text) : kivIniFileGetEscCharacter(text);
        EXPECT_EQ(std::make_pair(result, std::string(text)), std::make_pair(expected, std::string(rest))) << start;
    }

    // Quoted strings: the destination is left at its terminator.
    const char* const copies[][3] = {{"\"a\\tb\\\"c\" tail", "a\tb\"c", " tail"},
                                     {"\"unterminated\\", "unterminated", ""}};
    for (const auto& c : copies) {
        char buffer[32];
        char* out = buffer;
        const char* in = c[0];
        kivIniFileQuotedStrCopy(out, in);
        EXPECT_EQ(std::make_tuple(std::string(buffer), out - buffer, std::string(in)),
                  std::make_tuple(std::string(c[1]), std::strlen(c[1]), std::string(c[2])));
    }
}

TEST(IniLoader, ExhaustedMemoryThrowsAndKeepsWhatWasLoaded) {
    KivClIniFile ini(KivClFilename("unused"));
    const std::string text = "[A]\na=1\nb=2\n[B]\nc=3\n";
    allocationsLeft = 3;
    auto limited = [](unsigned int size) { return allocationsLeft-- > 0 ? std::malloc(size) : nullptr; };
    {
        kivtest::ScopedAllocatorHooks hooks(limited, &KivClMemoryManager::systemReallocator,
                                            &KivClMemoryManager::systemDeallocator);
        EXPECT_THROW(loadText(ini, text), KivClExceptionFatal);
    }
    EXPECT_EQ(ini.getSelectedSection(), nullptr);
    EXPECT_EQ(ini.getLineNumber(), 4u);
    EXPECT_EQ(sectionNames(ini), Names{"A"});
    EXPECT_EQ(optionNames(ini, ini.getFirstSection()), (Names{"a", "b"}));
    // The object stays usable: loading again goes on after the failure.
    EXPECT_TRUE(loadText(ini, text));
    EXPECT_EQ(sectionNames(ini), (Names{"A", "A", "B"}));
}

TEST(IniModel, SelectionTypedAndBooleanQueries) {
    LoadedIni loaded(kSample);
    KivClIniFile& ini = loaded.ini;
    const char* value = "unchanged";
    const char* note = "unchanged";
    EXPECT_FALSE(ini.getOption("long", value));  // nothing selected after loading
    EXPECT_TRUE(ini.getSection("NUMBERS"));
    EXPECT_STREQ(ini.getSelectedSection()->getName(), "Numbers");
    EXPECT_FALSE(ini.getOption("second", value, note) || ini.getOption(nullptr, value));
    EXPECT_EQ(std::string(value) + "/" + note, "unchanged/unchanged");
    expectOptions(ini, "Numbers", {{"LONG", "-12abc", "a long"}, {"ulong", "4294967296", ""}});

    expectConverted(ini, "long", -12L);
    expectConverted(ini, "ulong", 4294967296UL);
    expectConverted(ini, "uint", 4000000000U);
    expectConverted(ini, "int", 42);
    expectConverted(ini, "text", 0);
    expectConverted(ini, "text", 'a');
    expectConverted(ini, "empty", '\0');
    ASSERT_TRUE(ini.addOption("Numbers", "quoted", "'\\t'"));
    expectConverted(ini, "quoted", '\t');

    // A missing option leaves every out-parameter as it was.
    EXPECT_TRUE(untouched(ini, 5L) && untouched(ini, 5UL) && untouched(ini, 5) && untouched(ini, 5U));
    EXPECT_TRUE(untouched(ini, 'z'));
    bool flag = true;
    EXPECT_FALSE(ini.getOptionBool("absent", flag) || ini.getOptionBool("absent", flag, note));
    EXPECT_TRUE(flag && std::string(note) == "unchanged");

    EXPECT_FALSE(ini.getSection("missing"));
    EXPECT_EQ(ini.getSelectedSection(), nullptr);
    EXPECT_FALSE(ini.getOption("long", value) || ini.getSection(nullptr));

    // A value is true when it occurs, ignoring case, in the true tokens.
    ASSERT_TRUE(ini.getSection("flags"));
    KivClIniFileOptionCursor flags(ini);
    const std::string falseNames = "|no|off|zero|";
    for (const char* name : {"yes", "On", "one", "ok", "empty", "n", "rue", "no", "off", "zero"}) {
        const bool expected = falseNames.find("|" + std::string(name) + "|") == std::string::npos;
        bool viaName = !expected, withComment = !expected, viaCursor = !expected;
        EXPECT_TRUE(ini.getOptionBool(name, viaName) && ini.getOptionBool(name, withComment, note) &&
                    flags.setTo(name));
        EXPECT_STREQ(flags.getValueBool(viaCursor), flags.getValue());
        EXPECT_TRUE(viaName == expected && withComment == expected && viaCursor == expected && !*note) << name;
    }
}

TEST(IniModel, AddingSectionsAndOptions) {
    KivClIniFile ini(KivClFilename("unused"));
    EXPECT_TRUE(ini.addSection("Dup") && ini.addOption("dup", "first", "1") && ini.addSection("DUP"));
    EXPECT_STREQ(ini.getSelectedSection()->getName(), "DUP");
    EXPECT_TRUE(ini.addSection(std::string(120, 's').c_str()));
    EXPECT_EQ(sectionNames(ini), (Names{"Dup", "DUP", std::string(80, 's')}));

    EXPECT_FALSE(ini.addOption("nowhere", "a", "1") || ini.addOption("Dup", "FIRST", "2") ||
                 ini.addOption("Dup", nullptr, "2"));
    EXPECT_TRUE(ini.addOption("Dup", "nullvalue", nullptr));
    // An empty name is taken once: it then equals the name of that option.
    EXPECT_TRUE(ini.addOption("Dup", "", "2"));
    EXPECT_FALSE(ini.addOption("Dup", "", "3"));
    EXPECT_EQ(optionNames(ini, ini.getFirstSection()), (Names{"first", "nullvalue", ""}));
    expectOptions(ini, "Dup", {{"nullvalue", "", ""}, {"", "2", ""}});

    KivClIniFileSectionCursor cursor(ini);
    EXPECT_FALSE(ini.addOption(cursor, "c", "1"));
    ASSERT_TRUE(cursor.setTo("DUP") && cursor.setToNext());
    EXPECT_TRUE(ini.addOption(cursor, "c", "1"));
    EXPECT_EQ(optionNames(ini, ini.getFirstSection()->getNext()), Names{"c"});

    // Over-long texts are cut: name and value share 1,024 characters.
    const std::string longName(2000, 'N');
    EXPECT_TRUE(ini.addOption("Dup", longName.c_str(), "x"));
    EXPECT_FALSE(ini.addOption("Dup", (longName + "different tail").c_str(), "x"));
    EXPECT_TRUE(ini.addOption("Dup", "short", std::string(2000, 'v').c_str()));
    EXPECT_EQ(entry(ini, "Dup", std::string(1022, 'N').c_str()).first, "");
    EXPECT_EQ(entry(ini, "Dup", "short").first, std::string(1024 - 6 - 1, 'v'));

    // A cursor of another ini file changes nothing here.
    KivClIniFile other(KivClFilename("unused"));
    other.addSection("Dup");
    KivClIniFileSectionCursor foreign(other);
    ASSERT_TRUE(foreign.setToFirst());
    EXPECT_FALSE(ini.addOption(foreign, "z", "1") || ini.deleteSection(foreign));
    EXPECT_STREQ(foreign.getSection(), "Dup");
}

TEST(IniModel, ReplacingAndDeletingKeepPlaces) {
    LoadedIni loaded("[S]\na=short ; note\nb=x ; c\n[A]\nx=1 ; c\ny=2\n[B]\nz=3\n[C]\nw=4\n");
    KivClIniFile& ini = loaded.ini;
    EXPECT_TRUE(ini.setNewValue("s", "A", "tiny") && ini.setNewValue("S", "a", "a much longer value than before"));
    expectOptions(ini, "S", {{"a", "a much longer value than before", "note"}});
    EXPECT_FALSE(ini.setNewValue("S", "absent", "1") || ini.setNewValue("absent", "a", "1"));
    // A value that fills the storage is cut; the comment keeps what fits.
    EXPECT_TRUE(ini.setNewValue("S", "b", std::string(3000, 'h').c_str()));
    expectOptions(ini, "S", {{"b", std::string(1024 - 2 - 1, 'h'), "c"}});

    KivClIniFileSectionCursor sections(ini);
    KivClIniFileOptionCursor options(ini, ini.getFirstSection());
    EXPECT_FALSE(ini.setNewValue(sections, "a", "1") || ini.setNewValue(options, "1"));
    ASSERT_TRUE(sections.setToFirst() && options.setTo("b"));
    EXPECT_TRUE(ini.setNewValue(sections, "A", "via section"));
    EXPECT_FALSE(ini.setNewValue(sections, "zz", "1"));
    EXPECT_TRUE(ini.setNewValue(options, "via option"));
    expectOptions(ini, "S", {{"a", "via section", "note"}, {"b", "via option", "c"}});

    // Deletion empties names but keeps places.
    const KivClIniFileSection* sectionA = ini.getFirstSection()->getNext();
    EXPECT_TRUE(ini.deleteOption("a", "X"));
    EXPECT_FALSE(ini.deleteOption("a", "nothere") || ini.deleteOption("nothere", "y"));
    KivClIniFileOptionCursor aOptions(ini, sectionA);
    EXPECT_TRUE(aOptions.setTo("") && !aOptions.matches("x"));  // the deleted option matches only ""
    EXPECT_EQ(std::string(aOptions.getValue()) + aOptions.getComment(), "");
    // The name is free again, while a name differing in case is not.
    EXPECT_TRUE(ini.addOption("A", "x", "new") && !ini.addOption("A", "Y", "new"));
    EXPECT_EQ(optionNames(ini, sectionA), (Names{"", "y", "x"}));

    EXPECT_TRUE(ini.deleteSection("b"));
    EXPECT_FALSE(ini.deleteSection("b") || ini.getSection("B"));
    EXPECT_EQ(sectionNames(ini), (Names{"S", "A", "", "C"}));
    EXPECT_EQ(sectionA->getNext()->getFirstOption(), nullptr);

    KivClIniFileSectionCursor cSection(ini);
    EXPECT_FALSE(ini.deleteSection(cSection));
    ASSERT_TRUE(cSection.setTo("C"));
    KivClIniFileOptionCursor cOptions(cSection);
    EXPECT_FALSE(ini.deleteOption(cOptions));
    EXPECT_TRUE(cOptions.setToFirst() && ini.deleteOption(cOptions) && *cOptions.getOption() == '\0');
    EXPECT_FALSE(ini.deleteOption(cSection, "w"));
    EXPECT_TRUE(ini.deleteSection(cSection) && cSection.isValid() && *cSection.getSection() == '\0');
    EXPECT_TRUE(cSection.setTo("A") && ini.deleteOption(cSection, "y"));
    EXPECT_EQ(optionNames(ini, sectionA), (Names{"", "", "x"}));
}

TEST(IniModel, CursorsWalkSearchAndSeeOnlyWhatFollowsTheirFirstEntry) {
    KivClIniFile ini(KivClFilename("unused"));
    KivClIniFileSectionCursor early(ini);
    EXPECT_FALSE(early.isValid() || early.setToNext() || early.matches("") || *early.getSection() != '\0');
    ini.addSection("One");
    // A cursor made on an empty list never sees sections added later...
    EXPECT_FALSE(early.setToFirst() || early.setTo("One"));
    ini.addSection("Two");
    KivClIniFileSectionCursor cursor(ini);
    ini.addSection("Three");
    // ...but one made earlier reaches them from an earlier section.
    ASSERT_TRUE(cursor.setToFirst());
    EXPECT_TRUE(cursor.matches("ONE"));
    ASSERT_TRUE(cursor.setToNext() && cursor.setToNext());
    EXPECT_STREQ(cursor.getSection(), "Three");
    EXPECT_FALSE(cursor.setToNext() || cursor.isValid() || cursor.setToNext());
    EXPECT_TRUE(cursor.setTo("two") && std::string(cursor.getSection()) == "Two");
    EXPECT_TRUE(cursor.setTo("TWO") && cursor.setTo("one"));
    EXPECT_FALSE(cursor.setTo("four") || cursor.isValid() || cursor.setTo(nullptr));

    // Option cursors: on the selected section (none: nothing), on a section
    // cursor's section, and on an empty section that gains options later.
    ASSERT_FALSE(ini.getSection("none"));
    KivClIniFileOptionCursor unselected(ini);
    EXPECT_FALSE(unselected.setToFirst());
    EXPECT_EQ(std::string(unselected.getOption()) + unselected.getComment(), "");
    ASSERT_TRUE(cursor.setTo("Two"));
    KivClIniFileOptionCursor onEmpty(cursor);
    ASSERT_TRUE(ini.addOption(cursor, "late", "1") && ini.addOption(cursor, "later", "2"));
    EXPECT_FALSE(onEmpty.setToFirst());
    KivClIniFileOptionCursor afterwards(cursor);
    ASSERT_TRUE(afterwards.setToFirst() && afterwards.matches("LATE"));
    EXPECT_TRUE(afterwards.setToNext() && std::string(afterwards.getOption()) == "later");
    EXPECT_FALSE(afterwards.setToNext() || afterwards.setTo("absent") || afterwards.isValid());
}

TEST(IniSave, LayoutOfEveryKindOfEntry) {
    KivClIniFileSave ini(KivClFilename("unused"));
    EXPECT_EQ(saved(ini), "");
    ASSERT_TRUE(loadText(ini, "[Main]\nname=value ; the comment\n"));
    EXPECT_EQ(saved(ini), "\n[Main]\nname\t= value\t; the comment\n");

    // Deleted sections and options and empty values are left out.
    KivClIniFileSave edited(KivClFilename("unused"));
    ASSERT_TRUE(loadText(edited, "[Keep]\na=1\ngone=2\nempty=\n[Drop]\nb=3\n[Also]\n"));
    ASSERT_TRUE(edited.deleteOption("Keep", "gone") && edited.deleteSection("Drop"));
    EXPECT_EQ(saved(edited), "\n[Keep]\na\t= 1\n\n[Also]\n");

    std::ostringstream out;
    out << std::hex;
    EXPECT_TRUE(ini.saveSection(out, "S", "about S") && ini.saveSection(out, "T", ""));
    EXPECT_TRUE(ini.saveSection(out, "U", nullptr) && ini.saveOption(out, "lhs") && ini.saveComment(out, nullptr));
    EXPECT_TRUE(ini.saveOptionBool(out, "t", true, "c") && ini.saveOptionBool(out, "f", false, nullptr));
    EXPECT_TRUE(ini.saveOption(out, "i", -42, nullptr) && ini.saveOption(out, "u", UINT_MAX, nullptr));
    EXPECT_TRUE(ini.saveOption(out, "l", LONG_MIN, nullptr) && ini.saveOption(out, "ul", ULONG_MAX, "max"));
    EXPECT_TRUE(ini.saveOption(out, "c", 'x', nullptr) && ini.saveOption(out, "nl", '\n', nullptr));
    EXPECT_TRUE(ini.saveOption(out, "q", '\'', nullptr));
    EXPECT_TRUE(ini.saveChar(out, '\x1b') && ini.saveChar(out, '"') && ini.saveComment(out, ""));
    EXPECT_TRUE(ini.saveOption(out, "empty", "", "dropped"));
    EXPECT_TRUE(ini.saveOption(out, "null", static_cast<const char*>(nullptr), "dropped"));
    EXPECT_EQ(out.str(), "\n[S]\t; about S\n\n[T]\n\n[U]\nlhs\t= \nt\t= ON\t; c\nf\t= OFF\ni\t= -42\nu\t= " +
                             std::to_string(UINT_MAX) + "\nl\t= " + std::to_string(LONG_MIN) +
                             "\nul\t= " + std::to_string(ULONG_MAX) +
                             "\t; max\nc\t= 'x'\nnl\t= '\\n'\nq\t= '''\n\\x1b\"\n");
}

TEST(IniSave, SavingToTheNamedFile) {
    TempDir dir;
    // The first save empties the file, the second appends a second copy.
    writeFile(dir.file("out.ini"), std::string(500, '#'));
    {
        KivClIniFileSave ini(KivClFilename(dir.file("out").c_str()));
        ini.addSection("S");
        ini.addOption("S", "k", "v");
        EXPECT_TRUE(ini.save() && ini.save());
    }
    EXPECT_EQ(readFile(dir.file("out.ini")), "\n[S]\nk\t= v\n\n[S]\nk\t= v\n");

    // A single-entry call opens a closed file stream on the name.
    {
        KivClIniFileSave ini(KivClFilename(dir.file("entries.ini").c_str()));
        std::ofstream stream;
        EXPECT_TRUE(ini.saveSection(stream, "E", nullptr) && ini.saveOption(stream, "n", 5, nullptr));
    }
    EXPECT_EQ(readFile(dir.file("entries.ini")), "\n[E]\nn\t= 5\n");

    // A file that cannot be opened leaves every write failing.
    KivClIniFileSave unwritable(KivClFilename(dir.file("no/such/dir/x.ini").c_str()));
    unwritable.addSection("S");
    EXPECT_FALSE(unwritable.save() || unwritable.save());
    std::ofstream stream;
    EXPECT_FALSE(unwritable.saveSection(stream, "S", nullptr));
}

TEST(IniSave, VariedModelsSaveAndLoadBackEqual) {
    TempDir dir;
    const ScopedEnv home("KIVINI_HOME", "/home/x");
    // {name, value, as written after "name\t= "}. Values the plain form would
    // change are quoted; a hexadecimal digit right after a "\x" escape is
    // escaped too, so that the loader does not read it as part of the number.
    const std::vector<std::vector<std::string>> table = {
        {"semi", "a;b;c", "\"a;b;c\""},              {"tab", "\tlead and trail\t", "\"\\tlead and trail\\t\""},
        {"named", "\a\b\f\n\r\v", "\"\\a\\b\\f\\n\\r\\v\""},
        {"ctl", "x\x01y\x1f\x7fz", "\"x\\x01y\\x1f\\x7fz\""},
        {"hexnext", "\x01" "a9g\x03" "F", "\"\\x01\\x61\\x39g\\x03\\x46\""},
        {"apostrophe", "Don't panic", "\"Don't panic\""}, {"dquote", "x\"y;z", "\"x\\\"y;z\""},
        {"quotechar", "'x'", "\"'x'\""},             {"apostrophe2", "'", "\"'\""},
        {"env", "$(KIVINI_HOME)/a", "\"$(KIVINI_HOME)/a\""}, {"lead", "  padded", "\"  padded\""},
        {"trail", "padded ", "\"padded \""},         {"backslash", "c:\\dir;1", "\"c:\\\\dir;1\""},
        {"plainslash", "a\\tb\\", "a\\tb\\"},        {"dollar", "$HOME a=b", "$HOME a=b"},
        {"number", "-42", "-42"},                    {"bool", "ON", "ON"},
        {"high", "caf\xc3\xa9", "caf\xc3\xa9"},
    };
    std::string expected = "\n[R]\n";
    {
        KivClIniFileSave ini(KivClFilename(dir.file("trip").c_str()));
        ini.addSection("R");
        for (const auto& row : table) {
            ASSERT_TRUE(ini.addOption("R", row[0].c_str(), row[1].c_str()));
            expected += row[0] + "\t= " + row[2] + "\n";
        }
        ASSERT_TRUE(ini.save());
    }
    EXPECT_EQ(readFile(dir.file("trip.ini")), expected);
    LoadedIni back(expected);
    ASSERT_TRUE(back.result && back.recorder.reports.empty());
    for (const auto& row : table) {
        EXPECT_EQ(entry(back.ini, "R", row[0].c_str()), std::make_pair(row[1], std::string())) << row[0];
    }
}

TEST(IniSave, WhatNoLayoutCanCarryIsRefusedAndNothingIsWritten) {
    TempDir dir;
    const std::string path = dir.file("keep.ini");
    // Models that cannot be saved, {section, option, value}: the file keeps
    // its old contents. The last two make lines too long, the last one only
    // once its control characters are escaped.
    const std::vector<std::vector<std::string>> models = {
        {"a]b", "k", "v"}, {"a\nb", "k", "v"}, {"S", "[k", "v"}, {"S", ";k", "v"}, {"S", "a=b", "v"},
        {"S", "a b", "v"}, {"S", "a\tb", "v"}, {"S", "a\nb", "v"},
        {"S", std::string(600, 'n'), std::string(600, 'v')}, {"S", "k", std::string(300, '\x01')},
    };
    for (const auto& model : models) {
        writeFile(path, "precious");
        KivClIniFileSave ini(KivClFilename(path.c_str()));
        ini.addSection(model[0].c_str());
        ASSERT_TRUE(ini.addOption(model[0].c_str(), model[1].c_str(), model[2].c_str()));
        EXPECT_FALSE(ini.save()) << model[0] << "/" << model[1];
        std::ostringstream out;
        EXPECT_FALSE(ini.save(out));
        EXPECT_EQ(out.str(), "");
        EXPECT_EQ(readFile(path), "precious") << model[0] << "/" << model[1];
    }

    // Single entries: false, nothing written, an unopened file left alone.
    KivClIniFileSave ini(KivClFilename(path.c_str()));
    const std::vector<std::function<bool(std::ostream&)>> entries = {
        [&](std::ostream& o) { return ini.saveSection(o, "a]b", nullptr); },
        [&](std::ostream& o) { return ini.saveSection(o, "a\nb", nullptr); },
        [&](std::ostream& o) { return ini.saveSection(o, "S", "two\nlines"); },
        [&](std::ostream& o) { return ini.saveOption(o, "", "v", nullptr); },
        [&](std::ostream& o) { return ini.saveOption(o, "a b", "v", nullptr); },
        [&](std::ostream& o) { return ini.saveOption(o, "k", "v", "two\nlines"); },
        [&](std::ostream& o) { return ini.saveOption(o, "k", "v", " lead"); },
        [&](std::ostream& o) { return ini.saveOption(o, "k", std::string(1100, 'v').c_str(), nullptr); },
        [&](std::ostream& o) { return ini.saveOption(o, "[k", 5, nullptr); },
        [&](std::ostream& o) { return ini.saveOptionBool(o, "k=", true, nullptr); },
        [&](std::ostream& o) { return ini.saveOption(o, "k", '\0', nullptr); },
        [&](std::ostream& o) { return ini.saveOption(o, ";k"); },
        [&](std::ostream& o) { return ini.saveComment(o, "a\nb"); },
    };
    for (size_t i = 0; i < entries.size(); ++i) {
        std::ostringstream out;
        EXPECT_FALSE(entries[i](out)) << i;
        EXPECT_EQ(out.str(), "") << i;
        std::ofstream unopened;
        EXPECT_FALSE(entries[i](unopened)) << i;
        EXPECT_EQ(readFile(path), "precious") << i;
    }
}
