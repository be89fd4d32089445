// The trace tools end to end: the traced example writes a trace file, then
// kivtracectl and kivtrace2json run on it as programs of their own; their
// whole output and exit codes are compared.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "json_check.hpp"
#include "kiv_test_support.hpp"
#include "kiv_traceentry.hpp"

namespace {

const std::string kTitle = "\nkivtracectl - Trace Controller\n";
const std::string kBlock1 = "00000000: 72 6F 75 6E 64 20 31 20  20 20 20 20 20 62 6C 6F | round 1      blo\n";
const std::string kBlock2 = "00000010: 63 6B 2E 2E __ __ __ __  __ __ __ __ __ __ __ __ | ck..____________";
const std::string kDashes = "  " + std::string(72, '-') + "\n";
const char* const kCompact = "-display -format '%f:%m=%d%n'";

// Fields of one record header read straight from the file.
struct Record { uint32_t type, timeStamp, processId, threadId; };

class TraceToolsTest : public ::testing::Test {
protected:
    // Runs the traced example for rounds rounds; a fresh trace file unless append.
    void runDemo(int rounds, bool append = false) {
        const kivtest::ChildResult r = kivtest::runShell(
            "env -i KIVDEMO_TRACE_ACTIVE=1 KIVDEMO_TRACE_DETAIL=HIGH KIVDEMO_TRACE_BUFSIZE=4 KIVDEMO_TRACE_FILE=" +
            trace_ + (append ? "" : " KIVDEMO_TRACE_AUTOCLEAR=1") + " " KIV_TRACE_DEMO " " + std::to_string(rounds));
        ASSERT_TRUE(r.exited && r.exitCode == 0) << r.err;
    }

    // Runs a tool with a clean environment: TMP is the test directory, the
    // detail HIGH, and vars adds the rest (by default the trace file).
    kivtest::ChildResult tool(const char* program, const std::string& args, const std::string& vars) {
        return kivtest::runShell("env -i TMP=" + dir_.path() + " KIVDEMO_TRACE_DETAIL=HIGH " + vars + " " + program +
                                 " " + args);
    }
    kivtest::ChildResult ctl(const std::string& args) { return tool(KIV_TRACECTL, "-key KivDemo " + args, fileVar()); }
    std::string fileVar() const { return "KIVDEMO_TRACE_FILE=" + trace_; }

    std::vector<Record> records() const {
        const std::string bytes = kivtest::readFile(trace_);
        std::vector<Record> list;
        _KivStTraceRecordHeader h;
        for (size_t at = 0; at + sizeof(h) <= bytes.size(); at += sizeof(h) + h.length1 + h.length2 + h.dataLength) {
            std::memcpy(&h, bytes.data() + at, sizeof(h));
            list.push_back({h.flags & 0x1Fu, h.timeStamp, h.processId, h.threadId});
        }
        return list;
    }

    // Replaces {pid} by the first record's process id and each {ts}, in
    // turn, by the next record's timestamp.
    std::string expand(std::string text) const {
        const std::vector<Record> list = records();
        size_t at, next = 0;
        while ((at = text.find("{pid}")) != std::string::npos) text.replace(at, 5, std::to_string(list[0].processId));
        while ((at = text.find("{ts}")) != std::string::npos && next < list.size()) {
            text.replace(at, 4, std::to_string(list[next++].timeStamp));
        }
        return text;
    }

    // The console UI's fatal report; the message's later lines are indented
    // by the program name's length plus two.
    static std::string fatal(const std::string& message, const std::string& program = "kivtracectl") {
        return "\n" + std::string(74, '-') + "\n" + program + ": A fatal error occurred:\n" +
               std::string(program.size() + 2, ' ') + message + "\n";
    }

    kivtest::TempDir dir_;
    const std::string trace_ = dir_.file("demo.trc");
};

// One round of the example, as the default format shows it.
TEST_F(TraceToolsTest, DefaultFormat) {
    runDemo(1);
    const auto record = [](const char* function, const char* line2, const char* data) {
        return std::string(function) + "\n   P: {pid}, T: {ts}, " + line2 + "\n   Data: " + data + "\n)";
    };
    const std::string expected =
        record("main", "D: OFF, C: 1", " (FE: ") + record("main", "D: LOW, C: 1", "trace demo starting (ND: ") +
        record("main", "D: LOW, C: 1", "greeting (cpsz: \"hello, trace\"") +
        record("measure", "D: OFF, C: 2", " (FE: ") + record("measure", "D: LOW, C: 2", "round (i32: 1") +
        record("measure", "D: MED, C: 2", "letter (w8: 0x41/65/'A'") +
        record("measure", "D: MED, C: 2", "delta (i16: -3") +
        record("measure", "D: HIGH, C: 2", "square (i64: 1000000007") +
        record("measure", "D: HIGH, C: 2", "ratio (d: 0.125") + record("measure", "D: HIGH, C: 2", "even (b: FALSE") +
        record("measure", "D: MED, C: 3", ("block (DA (20 Bytes): \n" + kBlock1 + kBlock2).c_str()) +
        record("measure", "D: OFF, C: 2", " (FX: ") + record("summarize", "D: OFF, C: 4", " (FE: ") +
        record("summarize", "D: LOW, C: 4", "rounds done (w32: 1") +
        record("summarize", "D: MED, C: 4", "average (f: 1") + record("summarize", "D: OFF, C: 4", " (FX: ") +
        record("main", "D: OFF, C: 1", " (FX: ");
    const kivtest::ChildResult r = ctl("-display");
    EXPECT_EQ(std::tie(r.exitCode, r.out, r.err), std::make_tuple(0, kTitle + expand(expected), ""));
}

TEST_F(TraceToolsTest, FormatOptions) {
    runDemo(1);
    struct Row { std::string args, expected; } rows[] = {
        {std::string(kCompact) + " -fnofhd -fcompids 1,4",
         "main:trace demo starting=\nmain:greeting=\"hello, trace\"\nsummarize:rounds done=1\nsummarize:average=1\n"},
        {std::string(kCompact) + " -fssfhd -fcompids 1,4",
         "main:=\n:trace demo starting=\n:greeting=\"hello, trace\"\nsummarize:=\n:rounds done=1\n:average=1\n:=\n"
         "main:=\n"},
        {std::string(kCompact) + " -fnest -findent .. -fcompids 1,3,4",
         "main:=Nesting level: 1\n..main:trace demo starting=\n..main:greeting=\"hello, trace\"\n..measure:block=\n.." +
             kBlock1 + ".." + kBlock2 + "\n..summarize:=Nesting level: 2\n....summarize:rounds done=1\n"
             "....summarize:average=1\n....summarize:=Nesting level: 1\n..main:=Nesting level: 0\n"},
        {std::string(kCompact) + " -fhex -fcompids 2 -fdetail med",
         "measure:=\nmeasure:round=1\nHEX: 01 00 00 00 __ __ __ __  __ __ __ __ __ __ __ __ | ....____________\n"
         "measure:letter=0x41/65/'A'\nHEX: 41 __ __ __ __ __ __ __  __ __ __ __ __ __ __ __ | A_______________\n"
         "measure:delta=-3\nHEX: FD FF __ __ __ __ __ __  __ __ __ __ __ __ __ __ | ..______________\nmeasure:=\n"},
        {std::string(kCompact) + " -fbin -fcompids 2",
         "measure:=\nmeasure:round=1\n"
         "BIN: 00000001 00000000 00000000 00000000  ________ ________ ________ ________ | ....____\n"
         "measure:letter=0x41/65/'A'\n"
         "BIN: 01000001 ________ ________ ________  ________ ________ ________ ________ | A_______\n"
         "measure:delta=-3\nBIN: 11111101 11111111 ________ ________  ________ ________ ________ ________ | ..______\n"
         "measure:square=1000000007\n"
         "BIN: 00000111 11001010 10011010 00111011  00000000 00000000 00000000 00000000 | ...;....\n"
         "measure:ratio=0.125\nmeasure:even=FALSE\n"
         "BIN: 00000000 ________ ________ ________  ________ ________ ________ ________ | ._______\nmeasure:=\n"},
        // Function records have detail OFF; -fdetail replaces KIVDEMO_TRACE_DETAIL=HIGH.
        {"-display -format '%l %X %m%n' -fdetail low",
         "OFF FUNCTION ENTRY \nLOW NO DATA trace demo starting\nLOW C string greeting\nOFF FUNCTION ENTRY \n"
         "LOW signed integer (32 bits) round\nOFF FUNCTION EXIT \nOFF FUNCTION ENTRY \n"
         "LOW unsigned integer (32 bits) rounds done\nOFF FUNCTION EXIT \nOFF FUNCTION EXIT \n"},
    };
    for (const Row& row : rows) {
        const kivtest::ChildResult r = ctl(row.args);
        EXPECT_EQ(std::to_string(r.exitCode) + r.out, "0" + kTitle + expand(row.expected)) << row.args << r.err;
    }
}

// Two runs append to one file; -fpid and -ftid pick one process or thread.
TEST_F(TraceToolsTest, ProcessAndThreadFilters) {
    runDemo(1);
    runDemo(1, true);
    const std::vector<Record> list = records();
    ASSERT_EQ(list.size(), 34u);
    const std::string second = std::to_string(list[17].processId);
    const kivtest::ChildResult byProcess = ctl("-display -fdetail off -format '%p %f%n' -fpid " + second);
    EXPECT_EQ(byProcess.out, kTitle + second + " main\n" + second + " measure\n" + second + " measure\n" + second +
                                 " summarize\n" + second + " summarize\n" + second + " main\n");
    const std::string worker = std::to_string(list[12].threadId);  // the entry of summarize
    const kivtest::ChildResult byThread = ctl("-display -format '%m,' -ftid " + worker);
    EXPECT_EQ(byThread.out, kTitle + ",rounds done,average,,");
}

TEST_F(TraceToolsTest, StatusDisplay) {
    runDemo(1);
    const std::string before = kivtest::readFile(trace_);
    const auto line = [](const std::string& label, const std::string& value) {
        return "  " + label + std::string(36 - label.size(), '.') + ": " + value + "\n";
    };
    const auto header = [](const char* title) { return "\n  " + std::string(title) + "\n" + kDashes + "\n"; };
    const auto status = [&](const char* instance, const char* on, const char* rate, const char* entries) {
        return header("Trace Status") + line("Key/Instance", std::string("KivDemo/") + instance) +
               line("Trace active", on) + line("Trace enabled", on) + line("Trace uses shared memory", "NO") +
               line("Trace buffer size", "4072") + line("Trace file", trace_) + line("Compression rate", rate) +
               line("Number of entries", entries) + header("Trace Filter");
    };
    struct Row { std::string args, vars, expected; } rows[] = {
        // The status alone; an active key enables the controller's own instance.
        {"", "KIVDEMO_TRACE_ACTIVE=1 KIVDEMO_TRACE_AUTOCLEAR=1 KIVDEMO_TRACE_BUFSIZE=4",
         status("KIVTRACEINSTANCE0", "YES", "0", "0") + line("Detail level", "HIGH") + line("Filter process id", "0") +
             line("Filter thread id", "0") + line("Component Set", "NO")},
        // After a display the rate and the count are known; the filter options show.
        {"-instance inst_2 -display -format '' -verbose -fcompids 2,4.6,-5 -fpid 77 -fdetail med",
         "KIVDEMO_TRACE_BUFSIZE=4",
         status("inst_2", "NO", "0.811224", "17") + line("Detail level", "MED") + line("Filter process id", "77") +
             line("Filter thread id", "0") + line("Component Set", "YES") + line("Include component(s)", "2,4,6") +
             line("Exclude component(s)", "1,3,5,7.255")},
    };
    for (const Row& row : rows) {
        const kivtest::ChildResult r = tool(KIV_TRACECTL, "-key KivDemo " + row.args, fileVar() + " " + row.vars);
        EXPECT_EQ(std::to_string(r.exitCode) + r.out, "0" + kTitle + row.expected) << row.args << r.err;
        // The controller never changes the trace file, autoclear or not.
        EXPECT_EQ(kivtest::readFile(trace_), before);
    }
}

TEST_F(TraceToolsTest, InitDumpAndReset) {
    // -init creates an empty file (displayed as nothing) and keeps an existing one.
    EXPECT_EQ(ctl("-init -display").out, kTitle);
    kivtest::writeFile(trace_, "ABCDEFGHIJKLMNOPQR");
    EXPECT_EQ(ctl("-init").exitCode, 0);
    // -dump shows the raw bytes; -reset, last, empties the file.
    const kivtest::ChildResult dumped = ctl("-dump -reset");
    EXPECT_EQ(std::to_string(dumped.exitCode) + dumped.out, "0" + kTitle + "\n  " + trace_ + "\n" + kDashes +
                              "  00000000: 41 42 43 44 45 46 47 48  49 4A 4B 4C 4D 4E 4F 50 | ABCDEFGHIJKLMNOP\n"
                              "  00000010: 51 52 __ __ __ __ __ __  __ __ __ __ __ __ __ __ | QR______________\n");
    EXPECT_TRUE(kivtest::fileExists(trace_) && kivtest::readFile(trace_).empty());
    // Nothing to reset is no error, and creates nothing.
    const std::string other = dir_.file("other.trc");
    EXPECT_EQ(ctl("-reset -file " + other).exitCode, 0);
    EXPECT_FALSE(kivtest::fileExists(other));
}

TEST_F(TraceToolsTest, FailuresAndExitCodes) {
    runDemo(1);
    const std::string bytes = kivtest::readFile(trace_);
    const std::string cut = dir_.file("cut.trc"), bad = dir_.file("bad.trc");
    kivtest::writeFile(cut, bytes.substr(0, 100));
    std::string damaged = bytes;
    damaged[0] = static_cast<char>(damaged[0] | 0x1F);  // data type 31 in the first record
    kivtest::writeFile(bad, damaged);
    const std::string none = dir_.file("none.trc"), byDefault = dir_.file("KivDemotrace.trc");
    struct Row { std::string args, vars; int exitCode; std::string out, err; } rows[] = {
        {"-key KivDemo -display -file " + none, "", 2, kTitle + "\a", fatal("Specified trace file not found: " + none)},
        {"-key KivDemo -display", "", 2, kTitle + "\a",
         fatal("Trace file could not be identified; specified key may be invalid: " + byDefault)},
        {"-key KivDemo -display -format '%m,' -file " + cut, "", 3, kTitle + ",trace demo starting,greeting,\a",
         fatal("Trace file corrupted: unexpected end-of-file: " + cut)},
        {"-key KivDemo -display -format '%m,%d' -file " + bad, "", 3, kTitle + ",\a",
         fatal("Trace file corrupted: invalid data found: " + bad)},
        {"-key KivDemo -display -file " + dir_.path(), "", 4, kTitle + "\a",
         fatal("Could not open trace file for read access: " + dir_.path())},
        {"-key KivDemo -instance 'a b'", fileVar(), 5, kTitle + "\a", fatal("Invalid instance: a b")},
        {"-key 'AKeyOfTwentyFiveCharacter'", fileVar(), 1, kTitle + "\a",
         fatal("Could not initialize trace: AKeyOfTwentyFiveCharacter")},
        {"-display", fileVar(), 201,
         kTitle + "\nUsage: kivtracectl [-h|-H|-?|-copyright] [-quiet]\n"
                  "                   -key <key> [-instance <instance>] [-file <filename>]\n"
                  "                   [-display]\n"
                  "                   [-format <string>] [-findent <string>]\n"
                  "                   [-fnest] [-fnofhd] [-fssfhd] [-fhex] [-fbin]\n"
                  "                   [-fdetail <detail>] [-fcompids <compids>]\n"
                  "                   [-fpid <pid>] [-ftid <tid>]\n"
                  "                   [-verbose]\n\n\a",
         fatal("Missing command line switch: key\n             (Specify '-h' for help)")},
    };
    for (const Row& row : rows) {
        const kivtest::ChildResult r = tool(KIV_TRACECTL, row.args, row.vars);
        EXPECT_EQ(std::tie(r.exited, r.exitCode, r.out, r.err), std::make_tuple(true, row.exitCode, row.out, row.err))
            << row.args;
    }
}

TEST_F(TraceToolsTest, StrictJsonCheck) {
    for (const char* valid : {"{\"a\":[1,-2.5e3,true,false,null,\"x\\u0041\\n\"]}", " [ ] ", "0", "{}"}) {
        EXPECT_TRUE(kivtest::JsonCheck::isValid(valid)) << valid;
    }
    for (const char* invalid :
         {"{\"a\":1,}", "[1 2]", "01", "1.", "\"\\x\"", "\"a\nb\"", "{a:1}", "[1]]", "", "nul", "\"\\u00\""}) {
        EXPECT_FALSE(kivtest::JsonCheck::isValid(invalid)) << invalid;
    }
}

// The text after "name": up to the next comma or brace, quotes dropped.
std::string field(const std::string& event, const std::string& name) {
    const size_t at = event.find("\"" + name + "\":");
    if (at == std::string::npos) return "";
    const size_t start = at + name.size() + 3;
    std::string value = event.substr(start, event.find_first_of(",}", start) - start);
    return value.size() >= 2 && value[0] == '"' ? value.substr(1, value.size() - 2) : value;
}

// More records than the ring holds, from two threads, as trace-event JSON;
// a damaged or missing file ends with the controller's reports.
TEST_F(TraceToolsTest, ChromeTraceJson) {
    runDemo(30);
    const std::vector<Record> list = records();
    ASSERT_EQ(list.size(), 9u * 30 + 8);
    ASSERT_GT(kivtest::readFile(trace_).size(), 4096u);  // the 4 KiB ring wrapped
    const kivtest::ChildResult r = tool(KIV_TRACE2JSON, "-key KivDemo", fileVar());
    ASSERT_EQ(r.exitCode, 0) << r.err;
    ASSERT_TRUE(kivtest::JsonCheck::isValid(r.out));
    // One event per line between the document's first and last line.
    std::vector<std::string> events;
    for (size_t at = r.out.find('\n') + 1, end; (end = r.out.find('\n', at)) != std::string::npos; at = end + 1) {
        events.push_back(r.out.substr(at, end - at));
    }
    ASSERT_EQ(events.back(), "]}");
    events.pop_back();
    ASSERT_EQ(events.size(), list.size());

    std::map<std::string, std::vector<std::string>> open;  // per thread id: names of open entries
    std::map<std::string, int> phases;
    for (size_t i = 0; i < list.size(); ++i) {
        const std::string& e = events[i];
        const std::string phase = field(e, "ph"), name = field(e, "name"), tid = field(e, "tid");
        ++phases[phase + (phase == "i" ? field(e, "s") : "")];
        EXPECT_EQ(field(e, "ts") + "/" + field(e, "pid") + "/" + tid + "/" + std::to_string(phase == "B"),
                  std::to_string(list[i].timeStamp) + "/" + std::to_string(list[i].processId) + "/" +
                      std::to_string(list[i].threadId) + "/" + std::to_string(list[i].type == 1)) << e;
        if (phase == "B") open[tid].push_back(name);
        if (phase == "E") {
            ASSERT_EQ(open[tid].empty() ? "" : open[tid].back(), name) << e;
            open[tid].pop_back();
        }
        EXPECT_EQ(field(e, "type") != "", phase == "i") << e;
    }
    for (const auto& thread : open) EXPECT_TRUE(thread.second.empty()) << thread.first;
    EXPECT_EQ(open.size(), 2u);  // main thread and worker; main, 30 rounds and the worker enter and exit:
    EXPECT_EQ(phases, (std::map<std::string, int>{{"B", 32}, {"E", 32}, {"it", 9 * 30 + 8 - 64}}));
    // Typed data as JSON values.
    EXPECT_NE(events[2].find("\"data\":\"hello, trace\""), std::string::npos) << events[2];
    EXPECT_EQ(field(events[7], "data"), "1000000007");
    EXPECT_EQ(field(events[9], "data"), "false");
    EXPECT_EQ(field(events[10], "data"), "726F756E642031202020202020626C6F636B2E2E");

    const std::string cut = dir_.file("cut.trc"), none = dir_.file("none.trc");
    kivtest::writeFile(cut, kivtest::readFile(trace_).substr(0, 100));
    const kivtest::ChildResult damaged = tool(KIV_TRACE2JSON, "-key KivDemo -file " + cut, "");
    EXPECT_EQ(std::tie(damaged.exitCode, damaged.err),
              std::make_tuple(3, fatal("Trace file corrupted: unexpected end-of-file: " + cut, "kivtrace2json")));
    const kivtest::ChildResult missing = tool(KIV_TRACE2JSON, "-key KivDemo -file " + none, "");
    // No title: standard output is for the JSON alone.
    EXPECT_EQ(std::tie(missing.exitCode, missing.out, missing.err),
              std::make_tuple(2, "\a", fatal("Specified trace file not found: " + none, "kivtrace2json")));
}

}  // namespace
