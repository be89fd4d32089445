// Reading and writing an ini file: builds a small model and saves it, loads
// the file into a fresh object (reporting bad lines through a handler),
// reads typed values, walks every section and option with cursors, then
// changes one value and saves the file again.
//
//   kiv_ini_demo              (works on settings.ini in the temporary directory)
//   kiv_ini_demo my/settings  (works on my/settings.ini; an existing file is replaced)
#include <cstdio>
#include <string>

#include "kiv.hpp"

namespace {

// The loader calls this for each line it cannot read; true goes on loading.
bool reportLine(const _KivStError& error, unsigned int line, void*) {
    std::printf("  line %u skipped (error %u)\n", line, static_cast<unsigned>(error.errorId));
    return true;
}

bool writeSettings(const KivClFilename& name) {
    KivClIniFileSave ini(name);
    ini.addSection("Server");
    ini.addOption("Server", "host", "example.org");
    ini.addOption("Server", "port", "8080");
    ini.addOption("Server", "secure", "ON");
    ini.addSection("Greeting");
    ini.addOption("Greeting", "text", "Hello; world");  // saved in quotes: ";" starts a comment
    // Warning: save() empties an existing file of that name before writing.
    return ini.save();
}

void readSettings(const KivClFilename& name) {
    KivClIniFile ini(name);
    ini.setErrorHandler(reportLine, nullptr);
    if (!ini.load(false)) {
        std::printf("could not load %s\n", ini.getAsCString());
        return;
    }
    const char* host = "";
    long port = 0;
    bool secure = false;
    if (ini.getSection("server")) {  // names ignore case
        ini.getOption("host", host);
        ini.getOption("port", port);
        ini.getOptionBool("secure", secure);
    }
    std::printf("host %s, port %ld, secure %s\n", host, port, secure ? "yes" : "no");

    KivClIniFileSectionCursor sections(ini);
    for (bool s = sections.setToFirst(); s; s = sections.setToNext()) {
        std::printf("[%s]\n", sections.getSection());
        KivClIniFileOptionCursor options(sections);
        for (bool o = options.setToFirst(); o; o = options.setToNext()) {
            std::printf("  %s = %s\n", options.getOption(), options.getValue());
        }
    }
}

// Load, change, save: the usual way to update one value in place.
bool changePort(const KivClFilename& name, const char* port) {
    KivClIniFileSave ini(name);
    if (!ini.load(false) || !ini.setNewValue("Server", "port", port)) return false;
    return ini.save();  // rewrites the whole file from the model
}

}  // namespace

int main(int argc, char** argv) {
    const std::string name = argc > 1 ? argv[1] : std::string(kivGetTmpDirectory()) + "/settings";
    const KivClFilename file(name.c_str());  // ".ini" is added by the ini classes
    if (!writeSettings(file)) {
        std::printf("could not write %s.ini\n", name.c_str());
        return 1;
    }
    std::printf("written: %s.ini\n", name.c_str());
    readSettings(file);
    if (!changePort(file, "9090")) return 1;
    std::printf("after the change:\n");
    readSettings(file);
    return 0;
}
