// A console tool with a translated catalog: the tool's own message 1 and
// German library texts from message base 100, built from message sources by
// kiv_add_message_catalog. Switch names, answers, headers and prompt words
// all come out in German, and the German switch names and yes/no letters
// are the ones accepted.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "../conui/consoleui_tool.hpp"
#include "kiv_consoleui.hpp"
#include "kiv_msgcat.hpp"
#include "kiv_test_support.hpp"

namespace {

using conuitest::bar;
using conuitest::block;

constexpr unsigned long MESSAGE_BASE = 100;

struct GermanRun {
    std::string what;
    std::vector<std::string> arguments;
    std::string input;
    std::function<int(KivClConsoleUI&)> body;
    std::string out;
    std::string err;
    int exitCode;
};

void expectGermanRuns(const std::vector<GermanRun>& runs) {
    for (const GermanRun& run : runs) {
        SCOPED_TRACE(run.what);
        const kivtest::ChildResult result = kivtest::runInChild([&run] {
            conuitest::useNeutralEnvironment();
            conuitest::feedStandardInput(run.input);
            conuitest::Argv args(run.arguments);
            KivClConsoleUI ui(args.argc(), args.argv(), KivClFilename(KIV_TEST_CATALOG_DE),
                              MESSAGE_BASE);
            ui.init(nullptr, nullptr, nullptr, nullptr);
            return run.body(ui);
        });
        ASSERT_TRUE(result.exited);
        EXPECT_EQ(result.exitCode, run.exitCode);
        EXPECT_EQ(result.out, run.out);
        EXPECT_EQ(result.err, run.err);
    }
}

int checkUsage(KivClConsoleUI& ui) {
    ui.handleUsageHelp("[-a]", nullptr);
    return 0;
}

int showAnswers(KivClConsoleUI& ui) {
    ui.handleUsageHelp("[-a]", nullptr);
    ui.setFormatWidth(1);
    ui.formatBool("an", true);
    ui.formatBool("aus", false);
    ui.warning("Platte", "voll");
    return 0;
}

// The answer goes to standard error as "j" or "n".
std::function<int(KivClConsoleUI&)> askYesNo(bool defaultYes) {
    return [defaultYes](KivClConsoleUI& ui) {
        const bool yes = ui.promptYesNo("Weiter", defaultYes);
        std::fputs(yes ? "j" : "n", stderr);
        return 0;
    };
}

TEST(TranslatedCatalog, CatalogHoldsTheToolsOwnMessageAndTheGermanTexts) {
    kivtest::ScopedEnv locale("LC_ALL", "C");
    const KivClMessageCatalog catalog{KivClFilename(KIV_TEST_CATALOG_DE)};
    ASSERT_TRUE(catalog.isOpen());
    EXPECT_STREQ(KivClMessage(catalog, 1).getText(), "Werkzeug");
    EXPECT_STREQ(KivClMessage(catalog, MESSAGE_BASE + 3).getText(), "JA");
    EXPECT_FALSE(KivClMessage(catalog, 3).isLoaded());
}

TEST(TranslatedCatalog, SwitchNamesHeadersAndUsageAreGerman) {
    // The bell goes to the UI's output stream, which quiet mode silences.
    const std::string quietUsage = "\nAufruf: ktrc [-h|-H|-?|-urheber] [-still]\n             [-a]\n\n";
    const std::string usage = quietUsage + "\a";
    expectGermanRuns({
        {"unknown switch", {"-x"}, "", checkUsage, usage,
         block("Ein Fehler ist aufgetreten", "Unbekanntes Argument: -x"), 201},
        {"English quiet switch is unknown", {"-quiet"}, "", checkUsage, usage,
         block("Ein Fehler ist aufgetreten", "Unbekanntes Argument: -quiet"), 201},
        {"German quiet switch is accepted, the other entry reported", {"-still", "-x"}, "", checkUsage,
         quietUsage, block("Ein Fehler ist aufgetreten", "Unbekanntes Argument: -x"), 201},
        {"answers and headers", {}, "", showAnswers, "  an: JA\n  aus: NEIN\n",
         block("Warnung", "Platte: voll"), 0},
        {"German quiet switch silences them", {"-still"}, "", showAnswers, "", "", 0},
    });
}

TEST(TranslatedCatalog, YesNoPromptTakesTheGermanLetters) {
    const std::string askNo = bar() + " Weiter (J/N):\n (Vorgabe: N): ";
    const std::string askYes = bar() + " Weiter (J/N):\n (Vorgabe: J): ";
    const std::string useJN =
        block("Ein Fehler ist aufgetreten", "Ungueltiger Wert: Bitte verwenden: J/N");
    expectGermanRuns({
        {"j is yes", {}, "j\n", askYesNo(false), askNo, "j", 0},
        {"Nein is no", {}, "Nein\n", askYesNo(true), askYes, "n", 0},
        {"empty answer takes the default", {}, "\n", askYesNo(true), askYes, "j", 0},
        {"English y is asked again", {}, "y\nn\n", askYesNo(true), askYes + useJN + askYes, "n", 0},
    });
}

}  // namespace
