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

// Both query forms for a missing option leave value and comment unchanged.
template <typename Type>
bool untouched(const KivClIniFile& ini, Type sentinel) {
    Type value = sentinel;
    const char* note = "kept";
    const bool found = ini.getOption("absent", value) || ini.getOption("absent", value, note);
    return !found && value == sentinel && std::string(note) == "kept";
}

}  // namespace

TEST(IniModel, SelectionTypedAndBooleanQueries) {
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
    int asInt = 5;
    KivClIniFileOptionCursor cursor(ini);
    EXPECT_FALSE(cursor.setTo("absent"));
    EXPECT_STREQ(cursor.getValue(asInt), "");
    EXPECT_EQ(asInt, 5);

    EXPECT_FALSE(ini.getSection("missing"));
    EXPECT_EQ(ini.getSelectedSection(), nullptr);
    EXPECT_FALSE(ini.getOption("long", value) || ini.getSection(nullptr));

    // A value is true when it occurs, ignoring case, in the true tokens.
    EXPECT_STREQ(ini.getStringAllTrueTokens(), "|ON|TRUE|YES|1|OK|");
    ASSERT_TRUE(ini.getSection("flags"));
    KivClIniFileOptionCursor flags(ini);
    const std::string falseNames = "|no|off|zero|";
    for (const char* name : {"yes", "On", "one", "ok", "empty", "n", "rue", "no", "off", "zero"}) {
        const bool expected = falseNames.find("|" + std::string(name) + "|") == std::string::npos;
        bool viaName = !expected;
        bool withComment = !expected;
        bool viaCursor = !expected;
        EXPECT_TRUE(ini.getOptionBool(name, viaName) && ini.getOptionBool(name, withComment, note)) << name;
        EXPECT_TRUE(flags.setTo(name)) << name;
        EXPECT_STREQ(flags.getValueBool(viaCursor), flags.getValue());
        EXPECT_TRUE(viaName == expected && withComment == expected && viaCursor == expected) << name;
        EXPECT_STREQ(note, "");
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

TEST(IniModel, ReplacingAndDeletingKeepPlaces) {
    LoadedIni loaded("[S]\na=short ; note\nb=x ; c\n[A]\nx=1 ; c\ny=2\n[B]\nz=3\n[C]\nw=4\n");
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
    EXPECT_TRUE(aOptions.setTo(""));  // the deleted option matches only ""
    EXPECT_FALSE(aOptions.matches("x"));
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
    ASSERT_TRUE(cOptions.setToFirst());
    EXPECT_TRUE(ini.deleteOption(cOptions));
    EXPECT_STREQ(cOptions.getOption(), "");
    EXPECT_FALSE(ini.deleteOption(cSection, "w"));
    EXPECT_TRUE(ini.deleteSection(cSection) && cSection.isValid());
    EXPECT_STREQ(cSection.getSection(), "");
    ASSERT_TRUE(cSection.setTo("A"));
    EXPECT_TRUE(ini.deleteOption(cSection, "y"));
    EXPECT_EQ(optionNames(ini, sectionA), (Names{"", "", "x"}));
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
    ASSERT_FALSE(ini.getSection("none"));
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
