// The ini model: selection, typed queries, changes, deletion and cursors.
#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

#include "kiv_filename.hpp"
#include "kiv_inifile.hpp"
#include "ini_test_helpers.hpp"

namespace {

using kivtest::sectionNames;

const char kSample[] =
    "[Numbers]\n"
    "long=-12abc ; a long\n"
    "ulong=4294967296\n"
    "int=  42\n"
    "uint=7\n"
    "text=abc\n"
    "empty=\n"
    "[Flags]\n"
    "yes=yes\n"
    "On=On\n"
    "one=1\n"
    "ok=ok\n"
    "empty=\n"
    "n=n\n"
    "rue=rue\n"
    "no=no\n"
    "off=off\n"
    "zero=0\n"
    "[numbers]\n"
    "second=1\n";

void loadSample(KivClIniFile& ini) {
    ASSERT_TRUE(ini.loadFromBuffer(kSample, sizeof(kSample) - 1, '\n', true, false));
}

std::vector<std::string> optionNames(const KivClIniFile& ini, const KivClIniFileSection* section) {
    std::vector<std::string> names;
    KivClIniFileOptionCursor cursor(ini, section);
    for (cursor.setToFirst(); cursor.isValid(); cursor.setToNext()) {
        names.emplace_back(cursor.getOption());
    }
    return names;
}

}  // namespace

TEST(IniModel, SelectionAndTextQueries) {
    KivClIniFile ini(KivClFilename("unused"));
    loadSample(ini);
    const char* value = "unchanged";
    const char* note = "unchanged";
    // Nothing is selected after loading.
    EXPECT_FALSE(ini.getOption("long", value));
    EXPECT_STREQ(value, "unchanged");

    EXPECT_TRUE(ini.getSection("NUMBERS"));
    EXPECT_STREQ(ini.getSelectedSection()->getName(), "Numbers");
    EXPECT_TRUE(ini.getOption("LONG", value, note));
    EXPECT_STREQ(value, "-12abc");
    EXPECT_STREQ(note, "a long");
    EXPECT_TRUE(ini.getOption("ulong", value, note));
    EXPECT_STREQ(note, "");
    value = note = "unchanged";
    EXPECT_FALSE(ini.getOption("second", value, note));
    EXPECT_FALSE(ini.getOption(nullptr, value));
    EXPECT_STREQ(value, "unchanged");
    EXPECT_STREQ(note, "unchanged");

    EXPECT_FALSE(ini.getSection("missing"));
    EXPECT_EQ(ini.getSelectedSection(), nullptr);
    EXPECT_FALSE(ini.getOption("long", value));
    EXPECT_FALSE(ini.getSection(nullptr));
}

TEST(IniModel, TypedQueriesConvertLikeTheCLibrary) {
    KivClIniFile ini(KivClFilename("unused"));
    loadSample(ini);
    ASSERT_TRUE(ini.getSection("Numbers"));
    long asLong = 99;
    const char* note = nullptr;
    EXPECT_TRUE(ini.getOption("long", asLong, note));
    EXPECT_EQ(asLong, -12);
    EXPECT_STREQ(note, "a long");
    unsigned long asULong = 0;
    EXPECT_TRUE(ini.getOption("ulong", asULong));
    EXPECT_EQ(asULong, 4294967296UL);
    unsigned int asUInt = 0;
    EXPECT_TRUE(ini.getOption("uint", asUInt, note));
    EXPECT_EQ(asUInt, 7u);
    int asInt = 0;
    EXPECT_TRUE(ini.getOption("int", asInt));
    EXPECT_EQ(asInt, 42);
    EXPECT_TRUE(ini.getOption("text", asInt, note));
    EXPECT_EQ(asInt, 0);
    char asChar = '?';
    EXPECT_TRUE(ini.getOption("text", asChar));
    EXPECT_EQ(asChar, 'a');
    EXPECT_TRUE(ini.getOption("empty", asChar, note));
    EXPECT_EQ(asChar, '\0');
    // A stored value that begins with a quote is read as a quoted character.
    ASSERT_TRUE(ini.addOption("Numbers", "quoted", "'\\t'"));
    ASSERT_TRUE(ini.getSection("Numbers"));
    EXPECT_TRUE(ini.getOption("quoted", asChar));
    EXPECT_EQ(asChar, '\t');

    // A missing option leaves every out-parameter as it was.
    asLong = 5;
    asULong = 5;
    asInt = 5;
    asUInt = 5;
    asChar = 'z';
    note = "kept";
    bool flag = true;
    EXPECT_FALSE(ini.getOption("absent", asLong, note));
    EXPECT_FALSE(ini.getOption("absent", asULong, note));
    EXPECT_FALSE(ini.getOption("absent", asInt, note));
    EXPECT_FALSE(ini.getOption("absent", asUInt, note));
    EXPECT_FALSE(ini.getOption("absent", asChar, note));
    EXPECT_FALSE(ini.getOptionBool("absent", flag, note));
    EXPECT_EQ(asLong + static_cast<long>(asULong) + asInt + static_cast<int>(asUInt), 20);
    EXPECT_EQ(asChar, 'z');
    EXPECT_TRUE(flag);
    EXPECT_STREQ(note, "kept");
}

TEST(IniModel, BooleanQueriesSearchTheTrueTokens) {
    KivClIniFile ini(KivClFilename("unused"));
    loadSample(ini);
    EXPECT_STREQ(ini.getStringAllTrueTokens(), "|ON|TRUE|YES|1|OK|");
    EXPECT_STREQ(ini.getStringTrue(), "ON");
    EXPECT_STREQ(ini.getStringFalse(), "OFF");
    ASSERT_TRUE(ini.getSection("flags"));
    for (const char* name : {"yes", "On", "one", "ok", "empty", "n", "rue"}) {
        bool flag = false;
        EXPECT_TRUE(ini.getOptionBool(name, flag)) << name;
        EXPECT_TRUE(flag) << name;
    }
    for (const char* name : {"no", "off", "zero"}) {
        bool flag = true;
        const char* note = nullptr;
        EXPECT_TRUE(ini.getOptionBool(name, flag, note)) << name;
        EXPECT_FALSE(flag) << name;
        EXPECT_STREQ(note, "");
    }
}

TEST(IniModel, AddingSectionsAndOptions) {
    KivClIniFile ini(KivClFilename("unused"));
    EXPECT_TRUE(ini.addSection("Dup"));
    EXPECT_TRUE(ini.addOption("dup", "first", "1"));
    EXPECT_TRUE(ini.addSection("DUP"));
    EXPECT_STREQ(ini.getSelectedSection()->getName(), "DUP");
    EXPECT_TRUE(ini.addSection(std::string(120, 's').c_str()));
    EXPECT_EQ(sectionNames(ini), (std::vector<std::string>{"Dup", "DUP", std::string(80, 's')}));
    // getSection selects the first of equal names.
    ASSERT_TRUE(ini.getSection("dup"));
    EXPECT_EQ(ini.getSelectedSection(), ini.getFirstSection());

    EXPECT_FALSE(ini.addOption("nowhere", "a", "1"));
    EXPECT_FALSE(ini.addOption("Dup", "FIRST", "2"));
    EXPECT_FALSE(ini.addOption("Dup", "", "2"));
    EXPECT_FALSE(ini.addOption("Dup", nullptr, "2"));
    EXPECT_TRUE(ini.addOption("Dup", "nullvalue", nullptr));
    const char* value = nullptr;
    const char* note = nullptr;
    ASSERT_TRUE(ini.getSection("Dup"));
    EXPECT_TRUE(ini.getOption("nullvalue", value, note));
    EXPECT_STREQ(value, "");
    EXPECT_STREQ(note, "");

    // Through a cursor; an invalid cursor is refused.
    KivClIniFileSectionCursor cursor(ini);
    EXPECT_FALSE(ini.addOption(cursor, "c", "1"));
    ASSERT_TRUE(cursor.setTo("DUP"));
    ASSERT_TRUE(cursor.setToNext());
    EXPECT_TRUE(ini.addOption(cursor, "c", "1"));
    EXPECT_EQ(optionNames(ini, cursor.getIniFile().getFirstSection()->getNext()), std::vector<std::string>{"c"});

    // Over-long texts are cut: name and value share 1,024 characters.
    const std::string longName(2000, 'N');
    const std::string longValue(2000, 'v');
    EXPECT_TRUE(ini.addOption("Dup", longName.c_str(), "x"));
    EXPECT_FALSE(ini.addOption("Dup", (longName + "different tail").c_str(), "x"));
    EXPECT_TRUE(ini.addOption("Dup", "short", longValue.c_str()));
    ASSERT_TRUE(ini.getSection("Dup"));
    EXPECT_TRUE(ini.getOption(std::string(1022, 'N').c_str(), value));
    EXPECT_STREQ(value, "");
    EXPECT_TRUE(ini.getOption("short", value));
    EXPECT_EQ(std::string(value), std::string(1024 - 6 - 1, 'v'));

    // A cursor of another ini file changes nothing here.
    KivClIniFile other(KivClFilename("unused"));
    other.addSection("Dup");
    KivClIniFileSectionCursor foreign(other);
    ASSERT_TRUE(foreign.setToFirst());
    EXPECT_FALSE(ini.addOption(foreign, "z", "1"));
    EXPECT_FALSE(ini.deleteSection(foreign));
    EXPECT_STREQ(foreign.getSection(), "Dup");
}

TEST(IniModel, ReplacingValuesKeepsTheComment) {
    KivClIniFile ini(KivClFilename("unused"));
    const char text[] = "[S]\na=short ; note\nb=x ; c\n";
    ASSERT_TRUE(ini.loadFromBuffer(text, sizeof(text) - 1, '\n', true, false));
    const char* value = nullptr;
    const char* note = nullptr;
    EXPECT_TRUE(ini.setNewValue("s", "A", "tiny"));
    ASSERT_TRUE(ini.getSection("S"));
    EXPECT_TRUE(ini.getOption("a", value, note));
    EXPECT_STREQ(value, "tiny");
    EXPECT_STREQ(note, "note");
    EXPECT_TRUE(ini.setNewValue("S", "a", "a much longer value than before"));
    EXPECT_TRUE(ini.getOption("a", value, note));
    EXPECT_STREQ(value, "a much longer value than before");
    EXPECT_STREQ(note, "note");
    EXPECT_FALSE(ini.setNewValue("S", "absent", "1"));
    EXPECT_FALSE(ini.setNewValue("absent", "a", "1"));

    // A value that fills the storage is cut; the comment keeps what fits.
    const std::string huge(3000, 'h');
    EXPECT_TRUE(ini.setNewValue("S", "b", huge.c_str()));
    EXPECT_TRUE(ini.getOption("b", value, note));
    EXPECT_EQ(std::string(value), std::string(1024 - 2 - 1, 'h'));
    EXPECT_STREQ(note, "c");

    KivClIniFileSectionCursor sections(ini);
    EXPECT_FALSE(ini.setNewValue(sections, "a", "1"));
    ASSERT_TRUE(sections.setToFirst());
    EXPECT_TRUE(ini.setNewValue(sections, "A", "via section"));
    EXPECT_FALSE(ini.setNewValue(sections, "zz", "1"));
    KivClIniFileOptionCursor options(sections);
    EXPECT_FALSE(ini.setNewValue(options, "1"));
    ASSERT_TRUE(options.setTo("b"));
    EXPECT_TRUE(ini.setNewValue(options, "via option"));
    EXPECT_STREQ(options.getValue(), "via option");
    EXPECT_STREQ(options.getComment(), "c");
    ASSERT_TRUE(options.setTo("a"));
    EXPECT_STREQ(options.getValue(), "via section");
}

TEST(IniModel, DeletionKeepsPlacesWithEmptyNames) {
    KivClIniFile ini(KivClFilename("unused"));
    const char text[] = "[A]\nx=1 ; c\ny=2\n[B]\nz=3\n[C]\nw=4\n";
    ASSERT_TRUE(ini.loadFromBuffer(text, sizeof(text) - 1, '\n', true, false));
    EXPECT_TRUE(ini.deleteOption("a", "X"));
    EXPECT_FALSE(ini.deleteOption("a", "nothere"));
    EXPECT_FALSE(ini.deleteOption("nothere", "y"));
    KivClIniFileOptionCursor options(ini, ini.getFirstSection());
    ASSERT_TRUE(options.setToFirst());
    EXPECT_STREQ(options.getOption(), "");
    EXPECT_STREQ(options.getValue(), "");
    EXPECT_STREQ(options.getComment(), "");
    // The deleted option matches only the empty name.
    EXPECT_TRUE(options.setTo(""));
    EXPECT_FALSE(options.matches("x"));
    // The name is free again, while a name differing in case is not.
    EXPECT_TRUE(ini.addOption("A", "x", "new"));
    EXPECT_FALSE(ini.addOption("A", "Y", "new"));
    EXPECT_EQ(optionNames(ini, ini.getFirstSection()), (std::vector<std::string>{"", "y", "x"}));

    EXPECT_TRUE(ini.deleteSection("b"));
    EXPECT_FALSE(ini.deleteSection("b"));
    EXPECT_FALSE(ini.getSection("B"));
    EXPECT_EQ(sectionNames(ini), (std::vector<std::string>{"A", "", "C"}));
    EXPECT_EQ(ini.getFirstSection()->getNext()->getFirstOption(), nullptr);

    KivClIniFileSectionCursor sections(ini);
    EXPECT_FALSE(ini.deleteSection(sections));
    ASSERT_TRUE(sections.setTo("C"));
    KivClIniFileOptionCursor cOptions(sections);
    EXPECT_FALSE(ini.deleteOption(cOptions));
    ASSERT_TRUE(cOptions.setToFirst());
    EXPECT_TRUE(ini.deleteOption(cOptions));
    EXPECT_STREQ(cOptions.getOption(), "");
    EXPECT_FALSE(ini.deleteOption(sections, "w"));
    EXPECT_TRUE(ini.deleteSection(sections));
    EXPECT_STREQ(sections.getSection(), "");
    EXPECT_TRUE(sections.isValid());
    ASSERT_TRUE(sections.setTo("A"));
    EXPECT_TRUE(ini.deleteOption(sections, "y"));
    EXPECT_EQ(optionNames(ini, ini.getFirstSection()), (std::vector<std::string>{"", "", "x"}));
}

TEST(IniModel, SectionCursorWalksAndSearches) {
    KivClIniFile empty(KivClFilename("unused"));
    KivClIniFileSectionCursor early(empty);
    EXPECT_FALSE(early.isValid());
    EXPECT_STREQ(early.getSection(), "");
    EXPECT_FALSE(early.setToNext());
    EXPECT_FALSE(early.matches(""));
    empty.addSection("Later");
    // A cursor made on an empty list never sees sections added later.
    EXPECT_FALSE(early.setToFirst());
    EXPECT_FALSE(early.setTo("Later"));

    KivClIniFile ini(KivClFilename("unused"));
    ini.addSection("One");
    ini.addSection("Two");
    KivClIniFileSectionCursor cursor(ini);
    ini.addSection("Three");
    ASSERT_TRUE(cursor.setToFirst());
    EXPECT_TRUE(cursor.matches("ONE"));
    ASSERT_TRUE(cursor.setToNext());
    // Sections appended later are reached from an earlier one.
    ASSERT_TRUE(cursor.setToNext());
    EXPECT_STREQ(cursor.getSection(), "Three");
    EXPECT_FALSE(cursor.setToNext());
    EXPECT_FALSE(cursor.isValid());
    EXPECT_FALSE(cursor.setToNext());

    EXPECT_TRUE(cursor.setTo("two"));
    EXPECT_STREQ(cursor.getSection(), "Two");
    EXPECT_TRUE(cursor.setTo("TWO"));
    EXPECT_TRUE(cursor.setTo("one"));
    EXPECT_FALSE(cursor.setTo("four"));
    EXPECT_FALSE(cursor.isValid());
    EXPECT_FALSE(cursor.setTo(nullptr));
}

TEST(IniModel, OptionCursorsAndTheirConversions) {
    KivClIniFile ini(KivClFilename("unused"));
    const char text[] = "[S]\nnum=-5 ; n\nbig=4000000000\nflag=Yes\nchr=z\n[T]\nt=1\n";
    ASSERT_TRUE(ini.loadFromBuffer(text, sizeof(text) - 1, '\n', true, false));

    KivClIniFileOptionCursor unselected(ini);
    EXPECT_FALSE(unselected.setToFirst());
    int asInt = 3;
    EXPECT_STREQ(unselected.getValue(asInt), "");
    EXPECT_EQ(asInt, 3);
    EXPECT_STREQ(unselected.getOption(), "");
    EXPECT_STREQ(unselected.getComment(), "");

    ASSERT_TRUE(ini.getSection("s"));
    KivClIniFileOptionCursor cursor(ini);
    ASSERT_TRUE(cursor.setToFirst());
    EXPECT_STREQ(cursor.getValue(asInt), "-5");
    EXPECT_EQ(asInt, -5);
    long asLong = 0;
    EXPECT_STREQ(cursor.getValue(asLong), "-5");
    EXPECT_EQ(asLong, -5);
    EXPECT_STREQ(cursor.getComment(), "n");
    ASSERT_TRUE(cursor.setToNext());
    unsigned int asUInt = 0;
    unsigned long asULong = 0;
    EXPECT_STREQ(cursor.getValue(asUInt), "4000000000");
    EXPECT_EQ(asUInt, 4000000000u);
    cursor.getValue(asULong);
    EXPECT_EQ(asULong, 4000000000UL);
    ASSERT_TRUE(cursor.setTo("FLAG"));
    bool flag = false;
    EXPECT_STREQ(cursor.getValueBool(flag), "Yes");
    EXPECT_TRUE(flag);
    ASSERT_TRUE(cursor.setToNext());
    char asChar = 0;
    EXPECT_STREQ(cursor.getValue(asChar), "z");
    EXPECT_EQ(asChar, 'z');
    EXPECT_FALSE(cursor.setToNext());
    EXPECT_FALSE(cursor.setTo("t"));

    KivClIniFileSectionCursor sections(ini);
    ASSERT_TRUE(sections.setTo("T"));
    KivClIniFileOptionCursor fromSection(sections);
    ASSERT_TRUE(fromSection.setTo("T"));
    EXPECT_TRUE(fromSection.matches("t"));
    EXPECT_EQ(&fromSection.getIniFile(), &ini);

    // A cursor made on an empty section never sees options added later.
    ini.addSection("E");
    KivClIniFileOptionCursor onEmpty(ini);
    ASSERT_TRUE(ini.addOption("E", "late", "1"));
    EXPECT_FALSE(onEmpty.setToFirst());
    KivClIniFileOptionCursor afterwards(ini);
    EXPECT_TRUE(afterwards.setToFirst());
}
