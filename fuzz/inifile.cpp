// Feeds arbitrary bytes to the ini loader, then walks, queries, edits and
// writes what it loaded, so that every path that touches loaded text runs
// under the sanitizers.
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include "kiv_filename.hpp"
#include "kiv_inifilesave.hpp"

namespace {

bool keepGoing(const _KivStError&, unsigned int line, void*) {
    return line % 97 != 0;
}

void exercise(KivClIniFileSave& ini) {
    KivClIniFileSectionCursor sections(ini);
    for (sections.setToFirst(); sections.isValid(); sections.setToNext()) {
        KivClIniFileOptionCursor options(sections);
        for (options.setToFirst(); options.isValid(); options.setToNext()) {
            char asChar = 0;
            bool asBool = false;
            long asLong = 0;
            options.getValue(asChar);
            options.getValueBool(asBool);
            options.getValue(asLong);
            ini.getSection(sections.getSection());
            ini.getOption(options.getOption(), asChar);
        }
        if (options.setToFirst()) {
            ini.setNewValue(options, options.getComment());
        }
    }
    std::ostringstream out;
    ini.save(out);
    KivClIniFileSave again(KivClFilename("fuzz-again"));
    const std::string text = out.str();
    again.loadFromBuffer(text.data(), static_cast<unsigned int>(text.size()), '\n', true, false);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) {
        return 0;
    }
    // The first byte chooses the delimiter and the loader's two switches.
    const char delimiter = (data[0] & 1) != 0 ? '\n' : static_cast<char>(data[0] >> 1);
    KivClIniFileSave ini(KivClFilename("fuzz"));
    ini.setErrorHandler(&keepGoing, nullptr);
    ini.loadFromBuffer(reinterpret_cast<const char*>(data + 1), static_cast<unsigned int>(size - 1),
                       delimiter, (data[0] & 2) != 0, (data[0] & 4) != 0);
    exercise(ini);
    return 0;
}
