// Helpers shared by the ini file test suites.
#ifndef KIV_INI_TEST_HELPERS_HPP
#define KIV_INI_TEST_HELPERS_HPP

#include <string>
#include <vector>

#include "kiv_inifile.hpp"

namespace kivtest {

// Names of all sections in list order, as a section cursor walks them.
inline std::vector<std::string> sectionNames(const KivClIniFile& ini) {
    std::vector<std::string> names;
    KivClIniFileSectionCursor cursor(ini);
    for (cursor.setToFirst(); cursor.isValid(); cursor.setToNext()) {
        names.emplace_back(cursor.getSection());
    }
    return names;
}

}  // namespace kivtest

#endif  // KIV_INI_TEST_HELPERS_HPP
