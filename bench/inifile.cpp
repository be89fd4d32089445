// IniLoad: loading a 10,000-line ini file into memory beside inih's
// ini_parse, whose handler keeps every option (section, name, value) in a
// vector as a program using inih would. Each iteration loads the whole file
// and releases what was loaded.
#include <benchmark/benchmark.h>
#include <ini.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "kiv_filename.hpp"
#include "kiv_inifile.hpp"

namespace {

constexpr int kLines = 10000;

// Sections of one header, one comment line and eighteen options, each
// option with a short value and every third with a trailing comment.
std::string iniText() {
    std::string text;
    for (int line = 0; line < kLines; ++line) {
        const int section = line / 20, slot = line % 20;
        if (slot == 0) {
            text += "[section" + std::to_string(section) + "]\n";
        } else if (slot == 1) {
            text += "; settings of group " + std::to_string(section) + "\n";
        } else {
            text += "option" + std::to_string(slot) + " = value " + std::to_string(line);
            text += slot % 3 == 0 ? " ; tuned\n" : "\n";
        }
    }
    return text;
}

// The ini file in a fresh temporary directory, removed at program end.
class IniFixture {
public:
    IniFixture() {
        char pattern[] = "/tmp/kivbench-ini.XXXXXX";
        if (mkdtemp(pattern) != nullptr) directory_ = pattern;
        path_ = directory_ + "/load.ini";
        const std::string text = iniText();
        if (FILE* file = std::fopen(path_.c_str(), "w")) {
            std::fwrite(text.data(), 1, text.size(), file);
            std::fclose(file);
        }
    }
    ~IniFixture() {
        unlink(path_.c_str());
        rmdir(directory_.c_str());
    }
    const std::string& path() const { return path_; }

private:
    std::string directory_;
    std::string path_;
};

const IniFixture& fixture() {
    static const IniFixture made;
    return made;
}

void IniLoad_kiv(benchmark::State& state) {
    const KivClFilename name(fixture().path().c_str());
    for (auto _ : state) {
        KivClIniFile ini(name);
        if (!ini.load(false)) state.SkipWithError("load failed");
        benchmark::DoNotOptimize(ini.getLineNumber());
    }
    state.SetItemsProcessed(state.iterations() * kLines);
}

struct Option {
    std::string section, name, value;
};

int keepOption(void* user, const char* section, const char* name, const char* value) {
    static_cast<std::vector<Option>*>(user)->push_back({section, name, value});
    return 1;
}

void IniLoad_inih(benchmark::State& state) {
    for (auto _ : state) {
        std::vector<Option> options;
        if (ini_parse(fixture().path().c_str(), keepOption, &options) != 0) state.SkipWithError("parse failed");
        benchmark::DoNotOptimize(options.data());
    }
    state.SetItemsProcessed(state.iterations() * kLines);
}

}  // namespace

BENCHMARK(IniLoad_kiv);
BENCHMARK(IniLoad_inih);
