// A console tool with a translated catalog: the tool's own message 1 and
// German library texts from message base 100, built from message sources by
// kiv_add_message_catalog. Switch names, answers, headers and prompt words
// all come out in German, and the German switch names and yes/no letters
// are the ones accepted.
#include <gtest/gtest.h>

#include <string>

#include "../conui/consoleui_tool.hpp"
#include "kiv_consoleui.hpp"
#include "kiv_msgcat.hpp"
#include "kiv_test_support.hpp"

namespace {

using conuitest::bar;
using conuitest::block;

constexpr unsigned long MESSAGE_BASE = 100;

void expectGermanRuns(const std::vector<conuitest::ToolRun>& runs) {
    conuitest::expectRuns(runs, KIV_TEST_CATALOG_DE, MESSAGE_BASE);
}

int checkUsage(KivClConsoleUI& ui) {
    ui.init(nullptr, nullptr, nullptr, nullptr);
    ui.handleUsageHelp("[-a]", nullptr);
    return 0;
}

int showAnswers(KivClConsoleUI& ui) {
    checkUsage(ui);
    ui.setFormatWidth(1);
    ui.formatBool("an", true);
    ui.formatBool("aus", false);
    ui.warning("Platte", "voll");
    return 0;
}

// The answer goes to standard error as "j" or "n".
std::function<int(KivClConsoleUI&)> askYesNo(bool defaultYes) {
    return [defaultYes](KivClConsoleUI& ui) {
        ui.init(nullptr, nullptr, nullptr, nullptr);
        std::fputs(ui.promptYesNo("Weiter", defaultYes) ? "j" : "n", stderr);
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
    const std::string unknownX = block("Ein Fehler ist aufgetreten", "Unbekanntes Argument: -x");
    expectGermanRuns({
        {"unknown switch", {"-x"}, checkUsage, usage, unknownX, 201},
        {"English quiet switch is unknown", {"-quiet"}, checkUsage, usage,
         block("Ein Fehler ist aufgetreten", "Unbekanntes Argument: -quiet"), 201},
        {"German quiet switch is accepted, the other entry reported", {"-still", "-x"}, checkUsage, quietUsage,
         unknownX, 201},
        {"answers and headers", {}, showAnswers, "  an: JA\n  aus: NEIN\n", block("Warnung", "Platte: voll"), 0},
        {"German quiet switch silences them", {"-still"}, showAnswers, "", "", 0},
    });
}

TEST(TranslatedCatalog, YesNoPromptTakesTheGermanLetters) {
    const std::string askNo = bar() + " Weiter (J/N):\n (Vorgabe: N): ";
    const std::string askYes = bar() + " Weiter (J/N):\n (Vorgabe: J): ";
    const std::string useJN = block("Ein Fehler ist aufgetreten", "Ungueltiger Wert: Bitte verwenden: J/N");
    expectGermanRuns({
        {"j is yes", {}, askYesNo(false), askNo, "j", 0, "j\n"},
        {"Nein is no", {}, askYesNo(true), askYes, "n", 0, "Nein\n"},
        {"empty answer takes the default", {}, askYesNo(true), askYes, "j", 0, "\n"},
        {"English y is asked again", {}, askYesNo(true), askYes + useJN + askYes, "n", 0, "y\nn\n"},
    });
}

}  // namespace
