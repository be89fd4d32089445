// Loader behaviour: comments, sections, option lines, the value rules,
// continuation lines, error reports with line numbers and storage bounds.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "kiv_envvar.hpp"
#include "kiv_filename.hpp"
#include "kiv_inifile.hpp"
#include "ini_test_helpers.hpp"
#include "kiv_memmgr.hpp"
#include "kiv_test_support.hpp"

namespace {

using kivtest::sectionNames;

using Report = std::pair<uint32_t, unsigned int>;

// Records every report; stops loading at the report number stopAt (1-based).
struct Recorder {
    std::vector<Report> reports;
    size_t stopAt = 0;
    bool wrongClass = false;

    static bool handle(const _KivStError& error, unsigned int line, void* data) {
        Recorder* self = static_cast<Recorder*>(data);
        self->reports.emplace_back(error.errorId, line);
        self->wrongClass = self->wrongClass || error.errorClass != KIV_ERRCLASS_USER_DATA_ERROR;
        return self->stopAt == 0 || self->reports.size() < self->stopAt;
    }
};

const uint32_t kSection = KIV_ERRID_INIFILE_INVAL_SECTION;
const uint32_t kOption = KIV_ERRID_INIFILE_INVAL_OPTION;
const uint32_t kBlank = KIV_ERRID_INIFILE_INVAL_WHITESPACE;

bool loadText(KivClIniFile& ini, const std::string& text, bool newSection = true, bool continuation = false) {
    return ini.loadFromBuffer(text.data(), static_cast<unsigned int>(text.size()), '\n', newSection,
                              continuation);
}

std::string value(const KivClIniFile& ini, const char* section, const char* name) {
    const char* text = nullptr;
    if (!ini.getSection(section) || !ini.getOption(name, text)) {
        return "<missing>";
    }
    return text;
}

std::string comment(const KivClIniFile& ini, const char* section, const char* name) {
    const char* text = nullptr;
    const char* note = nullptr;
    if (!ini.getSection(section) || !ini.getOption(name, text, note)) {
        return "<missing>";
    }
    return note;
}

size_t optionCount(const KivClIniFile& ini, const char* section) {
    if (!ini.getSection(section)) {
        return 0;
    }
    size_t count = 0;
    KivClIniFileOptionCursor cursor(ini);
    for (cursor.setToFirst(); cursor.isValid(); cursor.setToNext()) {
        ++count;
    }
    return count;
}

// An allocator that grants a fixed number of blocks, then fails.
int allocationsLeft = 0;

void* limitedAllocator(unsigned int size) {
    if (allocationsLeft <= 0) {
        return nullptr;
    }
    --allocationsLeft;
    return KivClMemoryManager::systemAllocator(size);
}

}  // namespace

TEST(IniLoader, SkipsCommentsBlankLinesAndEverythingBeforeTheFirstSection) {
    KivClIniFile ini(KivClFilename("unused"));
    Recorder recorder;
    ini.setErrorHandler(&Recorder::handle, &recorder);
    ASSERT_TRUE(loadText(ini, "lost=1\nno equals sign\n   indented\n; c\n\n \t \n[S]\n  ; indented comment\nx=2\n"));
    EXPECT_TRUE(recorder.reports.empty());
    EXPECT_EQ(sectionNames(ini), std::vector<std::string>{"S"});
    EXPECT_EQ(optionCount(ini, "S"), 1u);
    EXPECT_EQ(value(ini, "S", "x"), "2");
    EXPECT_EQ(ini.getLineNumber(), 9u);
    // Loading leaves no section selected.
    KivClIniFile fresh(KivClFilename("unused"));
    ASSERT_TRUE(loadText(fresh, "[S]\nx=1\n"));
    EXPECT_EQ(fresh.getSelectedSection(), nullptr);
}

TEST(IniLoader, SectionHeadersNamesMergingAndMissingBracket) {
    KivClIniFile ini(KivClFilename("unused"));
    const std::string longName(100, 'n');
    ASSERT_TRUE(loadText(ini, "[ Two Words ] trailing text\nx=1\n[" + longName + "]\n[]\n"));
    EXPECT_EQ(sectionNames(ini), (std::vector<std::string>{" Two Words ", std::string(80, 'n'), ""}));
    EXPECT_EQ(value(ini, " two words ", "x"), "1");

    KivClIniFile merged(KivClFilename("unused"));
    ASSERT_TRUE(loadText(merged, "[A]\na=1\n[B]\nb=1\n[a]\nc=2\n", false));
    EXPECT_EQ(sectionNames(merged), (std::vector<std::string>{"A", "B"}));
    EXPECT_EQ(optionCount(merged, "A"), 2u);
    EXPECT_EQ(value(merged, "A", "c"), "2");

    KivClIniFile separate(KivClFilename("unused"));
    ASSERT_TRUE(loadText(separate, "[A]\na=1\n[a]\nc=2\n", true));
    EXPECT_EQ(sectionNames(separate), (std::vector<std::string>{"A", "a"}));
    EXPECT_EQ(value(separate, "A", "c"), "<missing>");

    KivClIniFile broken(KivClFilename("unused"));
    Recorder recorder;
    broken.setErrorHandler(&Recorder::handle, &recorder);
    ASSERT_TRUE(loadText(broken, "; comment\n[S]\na=1\n[broken\nb=2\n"));
    EXPECT_EQ(recorder.reports, (std::vector<Report>{{kSection, 4}}));
    EXPECT_FALSE(recorder.wrongClass);
    EXPECT_EQ(sectionNames(broken), std::vector<std::string>{"S"});
    EXPECT_EQ(value(broken, "S", "b"), "2");
}

TEST(IniLoader, OptionNamesDropWhiteSpaceAndDuplicatesAreKept) {
    KivClIniFile ini(KivClFilename("unused"));
    Recorder recorder;
    ini.setErrorHandler(&Recorder::handle, &recorder);
    ASSERT_TRUE(loadText(ini, "[S]\nmy name \t= v\nnoequals\ndup=1\nDUP=2\n=nameless\n"));
    EXPECT_EQ(recorder.reports, (std::vector<Report>{{kOption, 3}, {kOption, 6}}));
    EXPECT_EQ(value(ini, "S", "myname"), "v");
    EXPECT_EQ(value(ini, "S", "dup"), "1");
    EXPECT_EQ(optionCount(ini, "S"), 3u);
}

TEST(IniLoader, ValueRulesQuotesEscapesAndComments) {
    KivClIniFile ini(KivClFilename("unused"));
    const std::string text =
        "[V]\n"
        "plain=  plain value   ; the comment  \n"
        "blank=' '\n"
        "tabq=\"x\\ty\"\n"
        "tabraw=x\\ty\n"
        "open=\"abc\n"
        "chr='\\n'\n"
        "chr2='ab\n"
        "chr3='\n"
        "chr4='\\\n"
        "semi=\"a;b\" ; c\n"
        "padded=  \"  padded  \"  \n"
        "mixed=  \"q\"  x  \n"
        "tail=trail \"  \"\n"
        "rawhex=\\x41\n"
        "esc=\"\\x41\\101\\q\\\\\\\"\\a\\b\\f\\r\\v\"\n"
        "hexlong=\"\\x4a7\"\n"
        "eight=\"a\\8b\"\n"
        "nul=\"a\\x00-b\"\n"
        "onlycomment=;only comment\n"
        "emptycomment=a;\n"
        "dollar=a$b$(c\n";
    ASSERT_TRUE(loadText(ini, text));
    EXPECT_EQ(value(ini, "V", "plain"), "plain value");
    EXPECT_EQ(comment(ini, "V", "plain"), "the comment  ");
    EXPECT_EQ(comment(ini, "V", "blank"), "");
    EXPECT_EQ(value(ini, "V", "blank"), " ");
    EXPECT_EQ(value(ini, "V", "tabq"), "x\ty");
    EXPECT_EQ(value(ini, "V", "tabraw"), "x\\ty");
    EXPECT_EQ(value(ini, "V", "open"), "abc");
    EXPECT_EQ(value(ini, "V", "chr"), "\n");
    EXPECT_EQ(value(ini, "V", "chr2"), "a");
    EXPECT_EQ(value(ini, "V", "chr3"), "");
    EXPECT_EQ(value(ini, "V", "chr4"), "");
    EXPECT_EQ(value(ini, "V", "semi"), "a;b");
    EXPECT_EQ(comment(ini, "V", "semi"), "c");
    EXPECT_EQ(value(ini, "V", "padded"), "  padded  ");
    EXPECT_EQ(value(ini, "V", "mixed"), "q  x");
    EXPECT_EQ(value(ini, "V", "tail"), "trail   ");
    EXPECT_EQ(value(ini, "V", "rawhex"), "\\x41");
    EXPECT_EQ(value(ini, "V", "esc"), "AAq\\\"\a\b\f\r\v");
    EXPECT_EQ(value(ini, "V", "hexlong"), "\xa7");
    EXPECT_EQ(value(ini, "V", "eight"), "ab");
    EXPECT_EQ(value(ini, "V", "nul"), "a-b");
    EXPECT_EQ(value(ini, "V", "onlycomment"), "");
    EXPECT_EQ(comment(ini, "V", "onlycomment"), "only comment");
    EXPECT_EQ(value(ini, "V", "emptycomment"), "a");
    EXPECT_EQ(comment(ini, "V", "emptycomment"), "");
    EXPECT_EQ(value(ini, "V", "dollar"), "a$b$(c");
}

TEST(IniLoader, EnvironmentReferences) {
    KivClEnvironmentVariable set("KIVINI_TEST_VAR", "  val  ");
    KivClEnvironmentVariable unset("KIVINI_UNSET_VAR", nullptr);
    KivClIniFile ini(KivClFilename("unused"));
    const std::string text = "[E]\n"
                             "a=$(KIVINI_TEST_VAR)x\n"
                             "b=$(KIVINI_TEST_VAR)   \n"
                             "c=<$(KIVINI_UNSET_VAR)>\n"
                             "d=$(" + std::string(41, 'V') + ")z\n"
                             "e=\"$(KIVINI_TEST_VAR)\"\n"
                             "f=$(KIVINI_TEST_VAR;x)\n";
    ASSERT_TRUE(loadText(ini, text));
    EXPECT_EQ(value(ini, "E", "a"), "  val  x");
    EXPECT_EQ(value(ini, "E", "b"), "  val  ");
    EXPECT_EQ(value(ini, "E", "c"), "<>");
    EXPECT_EQ(value(ini, "E", "d"), "z");
    EXPECT_EQ(value(ini, "E", "e"), "$(KIVINI_TEST_VAR)");
    // A reference runs to the next ")": "KIVINI_TEST_VAR;x" names no variable.
    EXPECT_EQ(value(ini, "E", "f"), "");
    EXPECT_EQ(comment(ini, "E", "f"), "");
    set.resetValue();
}

TEST(IniLoader, ContinuationLines) {
    const std::string text = "[S]\na=one\n  two ; c2\n\t\"3 \"\nb=x ; keep\n";
    KivClIniFile joined(KivClFilename("unused"));
    Recorder joinedReports;
    joined.setErrorHandler(&Recorder::handle, &joinedReports);
    ASSERT_TRUE(loadText(joined, text, true, true));
    EXPECT_TRUE(joinedReports.reports.empty());
    EXPECT_EQ(value(joined, "S", "a"), "onetwo3 ");
    EXPECT_EQ(comment(joined, "S", "a"), "");
    EXPECT_EQ(comment(joined, "S", "b"), "keep");

    KivClIniFile plain(KivClFilename("unused"));
    Recorder plainReports;
    plain.setErrorHandler(&Recorder::handle, &plainReports);
    ASSERT_TRUE(loadText(plain, text, true, false));
    EXPECT_EQ(plainReports.reports, (std::vector<Report>{{kBlank, 3}, {kBlank, 4}}));
    EXPECT_EQ(value(plain, "S", "a"), "one");

    // A header indented is no header, and a header ends continuation.
    KivClIniFile headers(KivClFilename("unused"));
    Recorder headerReports;
    headers.setErrorHandler(&Recorder::handle, &headerReports);
    ASSERT_TRUE(loadText(headers, "[S]\na=1\n  [T]\n[U]\n  more\n", true, true));
    EXPECT_EQ(headerReports.reports, (std::vector<Report>{{kBlank, 5}}));
    EXPECT_EQ(value(headers, "S", "a"), "1[T]");
    EXPECT_EQ(sectionNames(headers), (std::vector<std::string>{"S", "U"}));
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
        "=no name\n"              // 13 option
        "[second]\n"              // 14
        "  right after header\n"  // 15 whitespace
        "[\n"                     // 16 section
        "last=2";                 // 17 no final delimiter
    const std::vector<Report> expected = {{kOption, 6}, {kBlank, 7}, {kSection, 9}, {kBlank, 12},
                                          {kOption, 13}, {kBlank, 15}, {kSection, 16}};
    KivClIniFile ini(KivClFilename("unused"));
    Recorder recorder;
    ini.setErrorHandler(&Recorder::handle, &recorder);
    EXPECT_TRUE(loadText(ini, text));
    EXPECT_EQ(recorder.reports, expected);
    EXPECT_FALSE(recorder.wrongClass);
    EXPECT_EQ(ini.getLineNumber(), 17u);
    EXPECT_EQ(value(ini, "ok", "still"), "ok");
    EXPECT_EQ(value(ini, "second", "last"), "2");

    // Without a handler everything valid loads and the result is true.
    KivClIniFile silent(KivClFilename("unused"));
    EXPECT_TRUE(loadText(silent, text));
    EXPECT_EQ(sectionNames(silent), (std::vector<std::string>{"ok", "second"}));
    EXPECT_EQ(optionCount(silent, "ok"), 2u);
    EXPECT_EQ(optionCount(silent, "second"), 1u);

    // A handler that says stop at the third report ends loading there.
    KivClIniFile stopped(KivClFilename("unused"));
    Recorder stopper;
    stopper.stopAt = 3;
    stopped.setErrorHandler(&Recorder::handle, &stopper);
    EXPECT_FALSE(loadText(stopped, text));
    EXPECT_EQ(stopper.reports, std::vector<Report>(expected.begin(), expected.begin() + 3));
    EXPECT_EQ(stopped.getLineNumber(), 9u);
    EXPECT_EQ(stopped.getSelectedSection(), nullptr);
    EXPECT_EQ(value(stopped, "ok", "good"), "1");
    EXPECT_EQ(value(stopped, "ok", "still"), "<missing>");

    // Removing the handler makes reports silent again.
    stopped.setErrorHandler(nullptr, nullptr);
    EXPECT_TRUE(stopped.error(kOption));
    EXPECT_EQ(stopper.reports.size(), 3u);
}

TEST(IniLoader, BufferDelimiterLengthAndLineNumbering) {
    KivClIniFile ini(KivClFilename("unused"));
    Recorder recorder;
    ini.setErrorHandler(&Recorder::handle, &recorder);
    const char text[] = "[S]|a=1|bad|b=2";
    // Only the first eleven characters count: "b=2" is never seen.
    EXPECT_TRUE(ini.loadFromBuffer(text, 11, '|', true, false));
    EXPECT_EQ(value(ini, "S", "a"), "1");
    EXPECT_EQ(value(ini, "S", "b"), "<missing>");
    EXPECT_EQ(recorder.reports, (std::vector<Report>{{kOption, 3}}));
    // The line number goes on from the previous load.
    EXPECT_TRUE(ini.loadFromBuffer("[T]\nbad\n", 8, '\n', true, false));
    EXPECT_EQ(recorder.reports.back(), Report(kOption, 5));
    EXPECT_TRUE(ini.loadFromBuffer(nullptr, 100, '\n', true, false));
    EXPECT_TRUE(ini.loadFromBuffer("", 0, '\n', true, false));
    EXPECT_EQ(ini.getLineNumber(), 5u);
    // Characters after an embedded zero byte are not part of the line.
    const char withZero[] = "[Z]\na=1\0tail\nb=2\n";
    EXPECT_TRUE(ini.loadFromBuffer(withZero, sizeof(withZero) - 1, '\n', true, false));
    EXPECT_EQ(value(ini, "Z", "a"), "1");
    EXPECT_EQ(value(ini, "Z", "b"), "2");
}

TEST(IniLoader, OverLongLineIsTheLastLineLoaded) {
    KivClIniFile ini(KivClFilename("unused"));
    const std::string text = "[S]\nv=" + std::string(2000, 'x') + "\nafter=1\n";
    EXPECT_TRUE(loadText(ini, text));
    EXPECT_EQ(value(ini, "S", "v"), std::string(1021, 'x'));
    EXPECT_EQ(value(ini, "S", "after"), "<missing>");
    EXPECT_EQ(ini.getLineNumber(), 2u);

    // A line of exactly 1,023 characters is whole and loading goes on.
    KivClIniFile exact(KivClFilename("unused"));
    EXPECT_TRUE(loadText(exact, "[S]\nv=" + std::string(1020, 'y') + ";\nafter=1\n"));
    EXPECT_EQ(value(exact, "S", "v"), std::string(1020, 'y'));
    EXPECT_EQ(value(exact, "S", "after"), "1");
}

TEST(IniLoader, StorageBoundsCutValuesAndReportTheLine) {
    const std::string huge(3000, 'e');
    KivClEnvironmentVariable variable("KIVINI_HUGE", huge.c_str());
    KivClIniFile ini(KivClFilename("unused"));
    Recorder recorder;
    ini.setErrorHandler(&Recorder::handle, &recorder);
    const std::string text = "[S]\n"
                             "n=$(KIVINI_HUGE) ; c\n"                          // 2: value cut
                             "long=" + std::string(800, 'a') + "\n"            // 3
                             "  " + std::string(800, 'b') + " ; note\n"        // 4: continuation cut
                             "m=" + std::string(1000, 'x') + "\n"              // 5
                             "  y ; " + std::string(100, 'c') + "\n"           // 6: comment cut
                             "ok=1\n";
    EXPECT_TRUE(loadText(ini, text, true, true));
    EXPECT_EQ(recorder.reports, (std::vector<Report>{{kOption, 2}, {kOption, 4}, {kOption, 6}}));
    // Name, value and both terminators fill the first 1,024 characters.
    EXPECT_EQ(value(ini, "S", "n"), std::string(1021, 'e'));
    EXPECT_EQ(comment(ini, "S", "n"), "c");
    EXPECT_EQ(value(ini, "S", "long"), std::string(800, 'a') + std::string(1024 - 2 - 4 - 800, 'b'));
    EXPECT_EQ(comment(ini, "S", "long"), "not");
    EXPECT_EQ(value(ini, "S", "m"), std::string(1000, 'x') + "y");
    EXPECT_EQ(comment(ini, "S", "m"), std::string(1028 - 2 - 1002 - 1, 'c'));
    EXPECT_EQ(value(ini, "S", "ok"), "1");

    // A handler may stop at the cut line; the cut option stays loaded.
    KivClIniFile stopped(KivClFilename("unused"));
    Recorder stopper;
    stopper.stopAt = 1;
    stopped.setErrorHandler(&Recorder::handle, &stopper);
    EXPECT_FALSE(loadText(stopped, text, true, true));
    EXPECT_EQ(value(stopped, "S", "n"), std::string(1021, 'e'));
    EXPECT_EQ(value(stopped, "S", "long"), "<missing>");
    variable.resetValue();
}

TEST(IniLoader, LoadsTheNamedFile) {
    kivtest::TempDir dir;
    kivtest::writeFile(dir.file("conf.ini"), "[A]\nx=1\n[a]\ny=2\n  z\n");
    KivClIniFile ini(KivClFilename(dir.file("conf").c_str()));
    EXPECT_EQ(std::string(ini.getAsCString()), dir.file("conf.ini"));
    Recorder recorder;
    ini.setErrorHandler(&Recorder::handle, &recorder);
    EXPECT_TRUE(ini.load(false));
    EXPECT_EQ(sectionNames(ini), (std::vector<std::string>{"A", "a"}));
    EXPECT_EQ(recorder.reports, (std::vector<Report>{{kBlank, 5}}));
    // A second load resets the line number and appends.
    EXPECT_TRUE(ini.load(true));
    EXPECT_EQ(sectionNames(ini), (std::vector<std::string>{"A", "a", "A", "a"}));
    EXPECT_EQ(recorder.reports.size(), 1u);
    EXPECT_EQ(ini.getLineNumber(), 5u);

    KivClIniFile missing(KivClFilename(dir.file("absent.ini").c_str()));
    missing.setErrorHandler(&Recorder::handle, &recorder);
    EXPECT_FALSE(missing.load(false));
    EXPECT_EQ(recorder.reports.size(), 1u);
    EXPECT_EQ(missing.getFirstSection(), nullptr);

    // A name with an extension keeps it.
    KivClIniFile other(KivClFilename(dir.file("conf.cfg").c_str()));
    EXPECT_EQ(std::string(other.getAsCString()), dir.file("conf.cfg"));
}

TEST(IniLoader, QuotedCharacterHelpers) {
    const char* text = "'\\x41'rest";
    EXPECT_EQ(kivIniFileGetQuotedCharacter(text), 'A');
    EXPECT_STREQ(text, "rest");
    text = "'";
    EXPECT_EQ(kivIniFileGetQuotedCharacter(text), '\0');
    EXPECT_STREQ(text, "");
    text = "'a";
    EXPECT_EQ(kivIniFileGetQuotedCharacter(text), 'a');
    EXPECT_STREQ(text, "");

    text = "177x";
    EXPECT_EQ(kivIniFileGetEscCharacter(text), '\177');
    EXPECT_STREQ(text, "x");
    text = "x1FFz";
    EXPECT_EQ(kivIniFileGetEscCharacter(text), '\xff');
    EXPECT_STREQ(text, "z");
    text = "xg";
    EXPECT_EQ(kivIniFileGetEscCharacter(text), '\0');
    EXPECT_STREQ(text, "g");
    text = "9";
    EXPECT_EQ(kivIniFileGetEscCharacter(text), '\0');
    EXPECT_STREQ(text, "");
    text = "";
    EXPECT_EQ(kivIniFileGetEscCharacter(text), '\0');
    EXPECT_STREQ(text, "");

    char buffer[32];
    char* out = buffer;
    const char* in = "\"a\\tb\\\"c\" tail";
    kivIniFileQuotedStrCopy(out, in);
    EXPECT_STREQ(buffer, "a\tb\"c");
    EXPECT_EQ(out, buffer + 5);
    EXPECT_STREQ(in, " tail");
    out = buffer;
    in = "\"unterminated\\";
    kivIniFileQuotedStrCopy(out, in);
    EXPECT_STREQ(buffer, "unterminated");
    EXPECT_STREQ(in, "");
}

TEST(IniLoader, ExhaustedMemoryThrowsAndKeepsWhatWasLoaded) {
    KivClIniFile ini(KivClFilename("unused"));
    const std::string text = "[A]\na=1\nb=2\n[B]\nc=3\n";
    allocationsLeft = 3;
    kivSetNewMemoryManager(&limitedAllocator, &KivClMemoryManager::systemReallocator,
                           &KivClMemoryManager::systemDeallocator);
    bool thrown = false;
    try {
        loadText(ini, text);
    } catch (const KivClExceptionFatal& exception) {
        thrown = exception.getError().errorClass == KIV_ERRCLASS_OUT_OF_MEMORY;
    }
    kivSetNewMemoryManager(&KivClMemoryManager::systemAllocator, &KivClMemoryManager::systemReallocator,
                           &KivClMemoryManager::systemDeallocator);
    EXPECT_TRUE(thrown);
    EXPECT_EQ(ini.getSelectedSection(), nullptr);
    EXPECT_EQ(ini.getLineNumber(), 4u);
    EXPECT_EQ(sectionNames(ini), std::vector<std::string>{"A"});
    EXPECT_EQ(value(ini, "A", "b"), "2");
    // The object stays usable: loading again goes on after the failure.
    EXPECT_TRUE(loadText(ini, text));
    EXPECT_EQ(sectionNames(ini), (std::vector<std::string>{"A", "A", "B"}));
}
