// Console UI displays: usage, help, title line and copyright.
#include <cstring>
#include <iostream>
#include <string>

#include "kiv_consoleui.hpp"
#include "conui/kiv_consoleui_messages.hpp"

namespace {

// The library's copyright notice; each line is shown padded to 60 columns.
constexpr unsigned COPYRIGHT_WIDTH = 60;
constexpr const char* COPYRIGHT_LINES[] = {
    "kiv - portable operating-system services library",
    "Copyright (c) 2026 the kiv authors.",
    "All rights reserved.",
    "",
    "This library is distributed in the hope that it will be",
    "useful, but WITHOUT ANY WARRANTY; without even the implied",
    "warranty of MERCHANTABILITY or FITNESS FOR A PARTICULAR",
    "PURPOSE.",
};

std::string copyrightNotice() {
    std::string notice;
    for (const char* line : COPYRIGHT_LINES) {
        const size_t length = std::strlen(line);
        notice.append(line);
        if (length < COPYRIGHT_WIDTH) notice.append(COPYRIGHT_WIDTH - length, ' ');
        notice.push_back('\n');
    }
    return notice;
}

}  // namespace

void KivClConsoleUI::displayUsage(bool exit) const {
    std::ostream& os = std::cout;
    const KivClMessage usageWord = libraryText(MSG_USAGE);
    const unsigned width = params_->processNameLength_ + 3 +
                           static_cast<unsigned>(std::strlen(usageWord.getText()));
    os << '\n' << usageWord.getText() << ": " << params_->processName_;
    if (canDeliverMessages()) {
        os << " [";
        const KivClMessage helpChars = libraryText(MSG_HELP_CHARS);
        for (const char* c = helpChars.getText(); *c != '\0'; ++c) {
            if (c != helpChars.getText()) os.put('|');
            os << '-' << *c;
        }
        os << "|-" << libraryText(MSG_COPYRIGHT_SWITCH).getText() << "] [-"
           << libraryText(MSG_QUIET_SWITCH).getText() << "]\n";
    }
    indent(os, width, ' ');
    display(os, params_->usage_, width, true);
    if (exit) {
        os.put('\n');
        processExit(EXIT_USAGE);
    }
    os.flush();
}

void KivClConsoleUI::displayHelp(bool exit) const {
    std::ostream& os = std::cout;
    if (params_->help_ != nullptr) {
        const KivClMessage helpWord = libraryText(MSG_HELP);
        os << '\n' << helpWord.getText() << ": ";
        display(os, params_->help_, static_cast<unsigned>(std::strlen(helpWord.getText())) + 2,
                false);
    } else {
        indent(os);
        display(os, libraryText(MSG_NO_HELP).getText(), 0, false);
    }
    os.flush();
    if (exit) processExit(EXIT_USAGE);
}

void KivClConsoleUI::displayUsageHelp(const char* usage, const char* help, bool exit) {
    setUsage(usage, help);
    displayUsage(false);
    displayHelp(exit);
}

void KivClConsoleUI::displayTitle(const char* title, const char* subtitle) const {
    std::ostream& os = out();
    if (title != nullptr) os << '\n' << params_->processName_ << " - " << title;
    if (subtitle != nullptr) os << "   " << subtitle;
    if (title != nullptr || subtitle != nullptr) os << std::endl;
}

void KivClConsoleUI::displayCopyright(const char* level, const char* date) {
    params_->forceOutputStream(std::cout);
    const KivClMessage levelHeader = libraryText(MSG_LEVEL);
    const KivClMessage levelLabel = libraryText(MSG_PLIM_LEVEL);
    const KivClMessage dateLabel = libraryText(MSG_COMPILE_DATE);
    formatHeader(libraryText(MSG_COPYRIGHT).getText());
    out() << "  ";
    display(out(), copyrightNotice().c_str(), 2, false);
    formatHeader(levelHeader.getText());
    format(levelLabel.getText(), kivLibraryGetLevel());
    format(dateLabel.getText(), kivLibraryGetTod());
    if (level != nullptr) {
        formatHeader(levelHeader.getText());
        format(levelLabel.getText(), level);
        format(dateLabel.getText(), date != nullptr ? date : "");
    }
    processExit(EXIT_USAGE);
}
