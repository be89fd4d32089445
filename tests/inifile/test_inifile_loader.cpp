// Loader behaviour: comments, sections, option lines, the value rules,
// continuation lines, error reports with line numbers and storage bounds.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "ini_test_helpers.hpp"
#include "kiv_envvar.hpp"
#include "kiv_filename.hpp"
#include "kiv_inifile.hpp"
#include "kiv_memmgr.hpp"
#include "kiv_test_support.hpp"

using namespace kivtest;

namespace {

const uint32_t kSection = KIV_ERRID_INIFILE_INVAL_SECTION;
const uint32_t kOption = KIV_ERRID_INIFILE_INVAL_OPTION;
const uint32_t kBlank = KIV_ERRID_INIFILE_INVAL_WHITESPACE;

// Each row: the text after "name=" on its own line, the value and comment.
struct ValueRow { const char* name; std::string text, value, comment; };

void expectValueRows(const std::vector<ValueRow>& rows) {
    std::string text = "[V]\n";
    for (const ValueRow& row : rows) {
        text += std::string(row.name) + "=" + row.text + "\n";
    }
    KivClIniFile ini(KivClFilename("unused"));
    ASSERT_TRUE(loadText(ini, text));
    for (const ValueRow& row : rows) {
        EXPECT_EQ(entry(ini, "V", row.name), std::make_pair(row.value, row.comment)) << row.text;
    }
}

// The number of blocks the failing allocator below still grants.
int allocationsLeft = 0;

}  // namespace

TEST(IniLoader, CommentsSectionHeadersAndOptionNames) {
    LoadedIni loaded("lost=1\nno equals sign\n   indented\n; c\n\n \t \n[ Two Words ] tail\n"
                     "  ; indented comment\nx=2\n[" + std::string(100, 'n') + "]\n[]\n");
    const KivClIniFile& ini = loaded.ini;
    EXPECT_TRUE(loaded.result && loaded.recorder.reports.empty());
    EXPECT_EQ(sectionNames(ini), (Names{" Two Words ", std::string(80, 'n'), ""}));
    EXPECT_EQ(ini.getLineNumber(), 11u);
    EXPECT_EQ(value(ini, " two words ", "x"), "2");

    // Blanks in names are dropped; options of one name are all kept.
    LoadedIni merged("[A]\na=1\n[B]\nb=1\n[a]\nmy name \t= v\ndup=1\nDUP=2\n", false);
    EXPECT_EQ(sectionNames(merged.ini), (Names{"A", "B"}));
    EXPECT_EQ(optionNames(merged.ini, merged.ini.getFirstSection()), (Names{"a", "myname", "dup", "DUP"}));
    expectOptions(merged.ini, "A", {{"myname", "v", ""}, {"dup", "1", ""}});
    LoadedIni separate("[A]\na=1\n[a]\nc=2\n", true);
    EXPECT_EQ(sectionNames(separate.ini), (Names{"A", "a"}));
    EXPECT_EQ(value(separate.ini, "A", "c"), "<missing>");
}

TEST(IniLoader, ValueRulesQuotesEscapesReferencesAndComments) {
    ScopedEnv set("KIVINI_TEST_VAR", "  val  ");
    ScopedEnv unset("KIVINI_UNSET_VAR", nullptr);
    expectValueRows({
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
    });
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
    EXPECT_EQ(value(loaded.ini, "second", "last"), "2");

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
    EXPECT_EQ(value(longLine.ini, "S", "v"), std::string(1021, 'x'));
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
        EXPECT_EQ(missing.getFirstSection(), nullptr);
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
        EXPECT_EQ(result, expected) << start;
        EXPECT_STREQ(text, rest) << start;
    }

    // Quoted strings: the destination is left at its terminator.
    const char* const copies[][3] = {{"\"a\\tb\\\"c\" tail", "a\tb\"c", " tail"},
                                     {"\"unterminated\\", "unterminated", ""}};
    for (const auto& c : copies) {
        char buffer[32];
        char* out = buffer;
        const char* in = c[0];
        kivIniFileQuotedStrCopy(out, in);
        EXPECT_STREQ(buffer, c[1]);
        EXPECT_EQ(out, buffer + std::strlen(c[1]));
        EXPECT_STREQ(in, c[2]);
    }
}

TEST(IniLoader, ExhaustedMemoryThrowsAndKeepsWhatWasLoaded) {
    KivClIniFile ini(KivClFilename("unused"));
    const std::string text = "[A]\na=1\nb=2\n[B]\nc=3\n";
    allocationsLeft = 3;
    auto limited = [](unsigned int size) {
        return allocationsLeft-- > 0 ? KivClMemoryManager::systemAllocator(size) : nullptr;
    };
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
