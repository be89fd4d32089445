// Console UI prompts on the standard streams, and the progress spinner.
#include <cctype>
#include <cstdlib>
#include <iostream>
#include <limits>
#include <string>

#include "kiv_consoleui.hpp"
#include "conui/kiv_consoleui_messages.hpp"
#include "kiv_string.hpp"

namespace {

constexpr char SPINNER[] = "|/-\\";
constexpr unsigned SPINNER_STEPS = sizeof SPINNER - 1;
// Blanks that clear the spinner line.
constexpr unsigned PROGRESS_LINE_WIDTH = 80;

// Room for a long in decimal, sign and terminator included.
constexpr unsigned NUMBER_TEXT_SIZE = 24;

}  // namespace

bool KivClConsoleUI::readAnswer(char* buffer, unsigned capacity) const {
    buffer[0] = '\0';
    std::cin.getline(buffer, capacity);
    if (std::cin.bad() || (std::cin.fail() && std::cin.eof())) {
        buffer[0] = '\0';
        return false;
    }
    if (std::cin.fail()) {
        std::cin.clear();
        std::cin.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    }
    return true;
}

bool KivClConsoleUI::ask(const char* text, const char* hint, const char* defaultAnswer) const {
    std::ostream& os = std::cout;
    indent(os, BAR_WIDTH, '-');
    os << "\n " << (text != nullptr ? text : "");
    if (hint != nullptr) os << " (" << hint << ')';
    os << ":\n";
    if (defaultAnswer != nullptr) {
        os << " (" << libraryText(MSG_DEFAULT).getText() << ": " << defaultAnswer << "): ";
    } else {
        os.put(' ');
    }
    os.flush();
    char* answer = params_->answer_;
    const bool open = readAnswer(answer, MAX_ANSWER + 1);
    if (answer[0] == '\0' && defaultAnswer != nullptr) {
        kivStrCopyUntil(answer, defaultAnswer, '\0', KivClConsoleUIParams::ANSWER_SIZE);
    }
    return open;
}

void KivClConsoleUI::prompt(const char* text, const char* hint, const char* defaultAnswer) const {
    ask(text, hint, defaultAnswer);
}

const char* KivClConsoleUI::promptString(const char* text, const char* defaultAnswer) const {
    prompt(text, nullptr, defaultAnswer);
    return params_->answer_;
}

const char* KivClConsoleUI::promptString(unsigned long textId, const char* defaultAnswer) const {
    const KivClMessage text(catalog_, textId);
    return promptString(text.getText(), defaultAnswer);
}

long KivClConsoleUI::promptNumval(const char* text, long minimum, long maximum,
                                  long defaultValue) const {
    char number[NUMBER_TEXT_SIZE];
    std::string hint = libraryText(MSG_MINIMUM).getText();
    kivLtoa(minimum, number);
    hint.append(": ").append(number).append(", ").append(libraryText(MSG_MAXIMUM).getText());
    kivLtoa(maximum, number);
    hint.append(": ").append(number);
    char defaultText[NUMBER_TEXT_SIZE];
    kivLtoa(defaultValue, defaultText);

    const KivClMessage invalid = libraryText(MSG_INVALID_VALUE);
    for (;;) {
        if (!ask(text, hint.c_str(), defaultText)) {
            if (defaultValue < minimum) return minimum;
            if (defaultValue > maximum) return maximum;
            return defaultValue;
        }
        const char* answer = params_->answer_;
        const char* digits = *answer == '-' ? answer + 1 : answer;
        if (!std::isdigit(static_cast<unsigned char>(*digits))) {
            error(std::cout, invalid.getText(), libraryText(MSG_ENTER_NUMBER).getText());
            continue;
        }
        const long value = std::strtol(answer, nullptr, 10);
        if (value >= minimum && value <= maximum) return value;
        error(std::cout, invalid.getText(), libraryText(MSG_WITHIN_LIMITS).getText());
    }
}

long KivClConsoleUI::promptNumval(unsigned long textId, long minimum, long maximum,
                                  long defaultValue) const {
    const KivClMessage text(catalog_, textId);
    return promptNumval(text.getText(), minimum, maximum, defaultValue);
}

bool KivClConsoleUI::promptYesNo(const char* text, bool defaultYes) const {
    const KivClMessage yesNo = libraryText(MSG_YES_NO);
    const char yes = libraryText(MSG_YES).getText()[0];
    const char no = libraryText(MSG_NO).getText()[0];
    const char defaultAnswer[2] = {defaultYes ? yes : no, '\0'};
    for (;;) {
        const bool open = ask(text, yesNo.getText(), defaultAnswer);
        const char answer =
            static_cast<char>(std::toupper(static_cast<unsigned char>(params_->answer_[0])));
        if (answer == yes) return true;
        if (answer == no) return false;
        if (!open) return defaultYes;
        error(std::cout, libraryText(MSG_INVALID_VALUE).getText(),
              libraryText(MSG_PLEASE_USE).getText(), yesNo.getText());
    }
}

bool KivClConsoleUI::promptYesNo(unsigned long textId, bool defaultYes) const {
    const KivClMessage text(catalog_, textId);
    return promptYesNo(text.getText(), defaultYes);
}

void KivClConsoleUI::promptForKey() const {
    std::cout << ' ' << libraryText(MSG_PRESS_ENTER).getText() << '\n';
    std::cout.flush();
    char discarded[MAX_ANSWER];
    readAnswer(discarded, sizeof discarded);
}

void KivClConsoleUI::progressStart() const { params_->progressCounter_ = 0; }

void KivClConsoleUI::progressStep(const char* text) const {
    if (params_->progressCounter_ >= SPINNER_STEPS) params_->progressCounter_ = 0;
    std::ostream& os = out();
    os << "\r " << SPINNER[params_->progressCounter_] << ' ';
    if (text != nullptr) os << text << ' ';
    params_->flushOutputStream();
    ++params_->progressCounter_;
}

void KivClConsoleUI::progressStop() const {
    std::ostream& os = out();
    os.put('\r');
    indent(os, PROGRESS_LINE_WIDTH, ' ');
    os.put('\r');
}
