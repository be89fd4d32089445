// Helpers shared by the ini file test suites.
#ifndef KIV_INI_TEST_HELPERS_HPP
#define KIV_INI_TEST_HELPERS_HPP

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "kiv_filename.hpp"
#include "kiv_inifile.hpp"

namespace kivtest {

using Names = std::vector<std::string>;

// Names of all sections, or of the options of one section, in list order.
inline Names sectionNames(const KivClIniFile& ini) {
    Names names;
    KivClIniFileSectionCursor cursor(ini);
    for (cursor.setToFirst(); cursor.isValid(); cursor.setToNext()) names.emplace_back(cursor.getSection());
    return names;
}

inline Names optionNames(const KivClIniFile& ini, const KivClIniFileSection* section) {
    Names names;
    KivClIniFileOptionCursor cursor(ini, section);
    for (cursor.setToFirst(); cursor.isValid(); cursor.setToNext()) names.emplace_back(cursor.getOption());
    return names;
}

inline bool loadText(KivClIniFile& ini, const std::string& text, bool newSection = true, bool continuation = false) {
    return ini.loadFromBuffer(text.data(), static_cast<unsigned int>(text.size()), '\n', newSection, continuation);
}

// Value and comment of an option, or "<missing>" for both.
inline std::pair<std::string, std::string> entry(const KivClIniFile& ini, const char* section, const char* name) {
    const char* value = nullptr;
    const char* comment = nullptr;
    if (!ini.getSection(section) || !ini.getOption(name, value, comment)) return {"<missing>", "<missing>"};
    return {value, comment};
}

inline std::string value(const KivClIniFile& ini, const char* section, const char* name) {
    return entry(ini, section, name).first;
}

struct Expected { const char* name; std::string value, comment; };

inline void expectOptions(const KivClIniFile& ini, const char* section, const std::vector<Expected>& table) {
    for (const Expected& row : table) {
        EXPECT_EQ(entry(ini, section, row.name), std::make_pair(row.value, row.comment)) << row.name;
    }
}

// Records loader reports as (error id, line) pairs; when stopAt is not 0,
// asks to stop at that report (1-based).
using Report = std::pair<uint32_t, unsigned int>;
struct Recorder {
    std::vector<Report> reports;
    size_t stopAt = 0;
    bool wrongClass = false;

    void attach(KivClIniFile& ini) { ini.setErrorHandler(&Recorder::handle, this); }
    static bool handle(const _KivStError& error, unsigned int line, void* data) {
        Recorder* self = static_cast<Recorder*>(data);
        self->reports.emplace_back(error.errorId, line);
        self->wrongClass = self->wrongClass || error.errorClass != KIV_ERRCLASS_USER_DATA_ERROR;
        return self->stopAt == 0 || self->reports.size() < self->stopAt;
    }
};

// An ini file loaded from text with a recording handler installed.
struct LoadedIni {
    explicit LoadedIni(const std::string& text, bool newSection = true, bool continuation = false,
                       size_t stopAt = 0)
        : ini(KivClFilename("unused")) {
        recorder.stopAt = stopAt;
        recorder.attach(ini);
        result = loadText(ini, text, newSection, continuation);
    }
    KivClIniFile ini;
    Recorder recorder;
    bool result;
};

}  // namespace kivtest

#endif  // KIV_INI_TEST_HELPERS_HPP
