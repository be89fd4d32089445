// The ini model: selection, typed queries, changes, deletion and cursors.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ini_test_helpers.hpp"
#include "kiv_filename.hpp"
#include "kiv_inifile.hpp"

using namespace kivtest;

namespace {

const char kSample[] =
    "[Numbers]\nlong=-12abc ; a long\nulong=4294967296\nint=  42\nuint=4000000000\ntext=abc\nempty=\n"
    "[Flags]\nyes=yes\nOn=On\none=1\nok=ok\nempty=\nn=n\nrue=rue\nno=no\noff=off\nzero=0\n"
    "[numbers]\nsecond=1\n";

// A typed query of the selected section that must find the option; with
// comment given, through the overload that also returns the comment.
template <typename Type>
Type query(const KivClIniFile& ini, const char* name, std::string* comment = nullptr) {
    Type value{};
    const char* note = "";
    EXPECT_TRUE(comment != nullptr ? ini.getOption(name, value, note) : ini.getOption(name, value)) << name;
    if (comment != nullptr) {
        *comment = note;
    }
    return value;
}

// The same conversion through an option cursor standing on the option.
template <typename Type>
Type converted(KivClIniFileOptionCursor& cursor, const char* name) {
    Type value{};
    EXPECT_TRUE(cursor.setTo(name)) << name;
    EXPECT_STREQ(cursor.getValue(value), cursor.getValue()) << name;
    return value;
}

}  // namespace

TEST(IniModel, SelectionAndTypedQueries) {
    LoadedIni loaded(kSample);
    KivClIniFile& ini = loaded.ini;
    const char* value = "unchanged";
    const char* note = "unchanged";
    EXPECT_FALSE(ini.getOption("long", value));  // nothing selected after loading
    EXPECT_TRUE(ini.getSection("NUMBERS"));
    EXPECT_STREQ(ini.getSelectedSection()->getName(), "Numbers");
    EXPECT_FALSE(ini.getOption("second", value, note) || ini.getOption(nullptr, value));
    EXPECT_STREQ(value, "unchanged");
    EXPECT_STREQ(note, "unchanged");
    expectOptions(ini, "Numbers", {{"LONG", "-12abc", "a long"}, {"ulong", "4294967296", ""}});

    std::string comment;
    EXPECT_EQ(query<long>(ini, "long", &comment), -12);
    EXPECT_EQ(comment, "a long");
    EXPECT_EQ(query<unsigned long>(ini, "ulong"), 4294967296UL);
    EXPECT_EQ(query<unsigned int>(ini, "uint", &comment), 4000000000u);
    EXPECT_EQ(comment, "");
    EXPECT_EQ(query<int>(ini, "int"), 42);
    EXPECT_EQ(query<int>(ini, "text", &comment), 0);
    EXPECT_EQ(query<char>(ini, "text"), 'a');
    EXPECT_EQ(query<char>(ini, "empty", &comment), '\0');
    ASSERT_TRUE(ini.addOption("Numbers", "quoted", "'\\t'"));
    EXPECT_EQ(query<char>(ini, "quoted"), '\t');

    KivClIniFileOptionCursor cursor(ini);
    EXPECT_EQ(converted<long>(cursor, "long"), -12);
    EXPECT_EQ(converted<unsigned long>(cursor, "ulong"), 4294967296UL);
    EXPECT_EQ(converted<int>(cursor, "int"), 42);
    EXPECT_EQ(converted<unsigned int>(cursor, "uint"), 4000000000u);
    EXPECT_EQ(converted<char>(cursor, "quoted"), '\t');

    // A missing option leaves every out-parameter as it was.
    long asLong = 5;
    unsigned long asULong = 5;
    int asInt = 5;
    unsigned int asUInt = 5;
    char asChar = 'z';
    bool flag = true;
    note = "kept";
    EXPECT_FALSE(ini.getOption("absent", asLong, note) || ini.getOption("absent", asULong, note) ||
                 ini.getOption("absent", asInt, note) || ini.getOption("absent", asUInt, note) ||
                 ini.getOption("absent", asChar, note) || ini.getOptionBool("absent", flag, note));
    EXPECT_EQ(asLong + static_cast<long>(asULong) + asInt + static_cast<int>(asUInt), 20);
    EXPECT_TRUE(asChar == 'z' && flag);
    EXPECT_STREQ(note, "kept");
    EXPECT_FALSE(cursor.setTo("absent"));
    EXPECT_STREQ(cursor.getValue(asInt), "");
    EXPECT_EQ(asInt, 5);

    EXPECT_FALSE(ini.getSection("missing"));
    EXPECT_EQ(ini.getSelectedSection(), nullptr);
    EXPECT_FALSE(ini.getOption("long", value) || ini.getSection(nullptr));
}

TEST(IniModel, BooleanQueriesSearchTheTrueTokens) {
    LoadedIni loaded(kSample);
    EXPECT_STREQ(loaded.ini.getStringAllTrueTokens(), "|ON|TRUE|YES|1|OK|");
    ASSERT_TRUE(loaded.ini.getSection("flags"));
    KivClIniFileOptionCursor cursor(loaded.ini);
    for (const char* name : {"yes", "On", "one", "ok", "empty", "n", "rue", "no", "off", "zero"}) {
        const bool expected = std::string("|no|off|zero|").find("|" + std::string(name) + "|") == std::string::npos;
        bool flag = !expected;
        bool viaCursor = !expected;
        const char* note = nullptr;
        EXPECT_TRUE(loaded.ini.getOptionBool(name, flag, note) && cursor.setTo(name)) << name;
        EXPECT_STREQ(cursor.getValueBool(viaCursor), cursor.getValue());
        EXPECT_EQ(flag, expected) << name;
        EXPECT_EQ(viaCursor, expected) << name;
        EXPECT_STREQ(note, "");
    }
}

TEST(IniModel, AddingSectionsAndOptions) {
    KivClIniFile ini(KivClFilename("unused"));
    EXPECT_TRUE(ini.addSection("Dup") && ini.addOption("dup", "first", "1") && ini.addSection("DUP"));
    EXPECT_STREQ(ini.getSelectedSection()->getName(), "DUP");
    EXPECT_TRUE(ini.addSection(std::string(120, 's').c_str()));
    EXPECT_EQ(sectionNames(ini), (Names{"Dup", "DUP", std::string(80, 's')}));
    ASSERT_TRUE(ini.getSection("dup"));
    EXPECT_EQ(ini.getSelectedSection(), ini.getFirstSection());

    EXPECT_FALSE(ini.addOption("nowhere", "a", "1"));
    EXPECT_FALSE(ini.addOption("Dup", "FIRST", "2"));
    EXPECT_FALSE(ini.addOption("Dup", nullptr, "2"));
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
    EXPECT_EQ(value(ini, "Dup", std::string(1022, 'N').c_str()), "");
    EXPECT_EQ(value(ini, "Dup", "short"), std::string(1024 - 6 - 1, 'v'));

    // A cursor of another ini file changes nothing here.
    KivClIniFile other(KivClFilename("unused"));
    other.addSection("Dup");
    KivClIniFileSectionCursor foreign(other);
    ASSERT_TRUE(foreign.setToFirst());
    EXPECT_FALSE(ini.addOption(foreign, "z", "1") || ini.deleteSection(foreign));
    EXPECT_STREQ(foreign.getSection(), "Dup");
}

TEST(IniModel, ReplacingValuesKeepsTheComment) {
    LoadedIni loaded("[S]\na=short ; note\nb=x ; c\n");
    KivClIniFile& ini = loaded.ini;
    EXPECT_TRUE(ini.setNewValue("s", "A", "tiny"));
    expectOptions(ini, "S", {{"a", "tiny", "note"}});
    EXPECT_TRUE(ini.setNewValue("S", "a", "a much longer value than before"));
    expectOptions(ini, "S", {{"a", "a much longer value than before", "note"}});
    EXPECT_FALSE(ini.setNewValue("S", "absent", "1") || ini.setNewValue("absent", "a", "1"));
    // A value that fills the storage is cut; the comment keeps what fits.
    EXPECT_TRUE(ini.setNewValue("S", "b", std::string(3000, 'h').c_str()));
    expectOptions(ini, "S", {{"b", std::string(1024 - 2 - 1, 'h'), "c"}});

    KivClIniFileSectionCursor sections(ini);
    EXPECT_FALSE(ini.setNewValue(sections, "a", "1"));
    ASSERT_TRUE(sections.setToFirst());
    EXPECT_TRUE(ini.setNewValue(sections, "A", "via section"));
    EXPECT_FALSE(ini.setNewValue(sections, "zz", "1"));
    KivClIniFileOptionCursor options(sections);
    EXPECT_FALSE(ini.setNewValue(options, "1"));
    ASSERT_TRUE(options.setTo("b"));
    EXPECT_TRUE(ini.setNewValue(options, "via option"));
    expectOptions(ini, "S", {{"a", "via section", "note"}, {"b", "via option", "c"}});
}

TEST(IniModel, DeletionKeepsPlacesWithEmptyNames) {
    LoadedIni loaded("[A]\nx=1 ; c\ny=2\n[B]\nz=3\n[C]\nw=4\n");
    KivClIniFile& ini = loaded.ini;
    EXPECT_TRUE(ini.deleteOption("a", "X"));
    EXPECT_FALSE(ini.deleteOption("a", "nothere") || ini.deleteOption("nothere", "y"));
    KivClIniFileOptionCursor options(ini, ini.getFirstSection());
    EXPECT_TRUE(options.setTo(""));  // the deleted option matches only ""
    EXPECT_FALSE(options.matches("x"));
    EXPECT_STREQ(options.getValue(), "");
    EXPECT_STREQ(options.getComment(), "");
    // The name is free again, while a name differing in case is not.
    EXPECT_TRUE(ini.addOption("A", "x", "new"));
    EXPECT_FALSE(ini.addOption("A", "Y", "new"));
    EXPECT_EQ(optionNames(ini, ini.getFirstSection()), (Names{"", "y", "x"}));

    EXPECT_TRUE(ini.deleteSection("b"));
    EXPECT_FALSE(ini.deleteSection("b") || ini.getSection("B"));
    EXPECT_EQ(sectionNames(ini), (Names{"A", "", "C"}));
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
    EXPECT_TRUE(sections.isValid());
    EXPECT_STREQ(sections.getSection(), "");
    ASSERT_TRUE(sections.setTo("A"));
    EXPECT_TRUE(ini.deleteOption(sections, "y"));
    EXPECT_EQ(optionNames(ini, ini.getFirstSection()), (Names{"", "", "x"}));
}

TEST(IniModel, CursorsWalkSearchAndSeeOnlyWhatFollowsTheirFirstEntry) {
    KivClIniFile ini(KivClFilename("unused"));
    KivClIniFileSectionCursor early(ini);
    EXPECT_FALSE(early.isValid() || early.setToNext() || early.matches(""));
    EXPECT_STREQ(early.getSection(), "");
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
    EXPECT_TRUE(cursor.setTo("two"));
    EXPECT_STREQ(cursor.getSection(), "Two");
    EXPECT_TRUE(cursor.setTo("TWO") && cursor.setTo("one"));
    EXPECT_FALSE(cursor.setTo("four") || cursor.isValid() || cursor.setTo(nullptr));

    // Option cursors: on the selected section (none: nothing), on a section
    // cursor's section, and on an empty section that gains options later.
    KivClIniFileOptionCursor unselected(ini);
    EXPECT_FALSE(unselected.setToFirst());
    EXPECT_STREQ(unselected.getOption(), "");
    EXPECT_STREQ(unselected.getComment(), "");
    ASSERT_TRUE(cursor.setTo("Two"));
    KivClIniFileOptionCursor onEmpty(cursor);
    ASSERT_TRUE(ini.addOption(cursor, "late", "1") && ini.addOption(cursor, "later", "2"));
    EXPECT_FALSE(onEmpty.setToFirst());
    KivClIniFileOptionCursor afterwards(cursor);
    EXPECT_EQ(&afterwards.getIniFile(), &ini);
    ASSERT_TRUE(afterwards.setToFirst() && afterwards.matches("LATE"));
    ASSERT_TRUE(afterwards.setToNext());
    EXPECT_STREQ(afterwards.getOption(), "later");
    EXPECT_FALSE(afterwards.setToNext() || afterwards.setTo("absent") || afterwards.isValid());
}
