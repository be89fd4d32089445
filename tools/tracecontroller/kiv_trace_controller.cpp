// The trace controller: command line, actions on the trace file and the
// status display.
#include "kiv_trace_controller.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <ostream>

#include "kiv_dump.hpp"
#include "kiv_error.hpp"
#include "kiv_msgcat.hpp"

namespace {

// Opens the trace file without following a final symbolic link and accepts
// only a regular file; -1 otherwise (errno tells why).
int openRegularFile(const char* name, int flags) {
    const int fd = ::open(name, flags | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, 0644);
    if (fd < 0) return -1;
    struct stat info;
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        ::close(fd);
        errno = EINVAL;
        return -1;
    }
    return fd;
}

const char* traceFileOf(KivClTraceToolSession& session) {
    return session.environment().getTraceFileName().getAsCString();
}

}  // namespace

std::string KivClTraceController::text(unsigned long id) const {
    return KivClMessage(ui_.getMessageCatalog(), id).getText();
}

int KivClTraceController::run() {
    ui_.init(MSG_TITLE, 0, kivLibraryGetLevel(), __DATE__);
    const std::string usage = HIDDEN_SWITCHES + text(MSG_USAGE);
    const std::string help = text(MSG_HELP);
    ui_.hideTaggedLines();
    ui_.handleUsageHelp(usage.c_str(), help.c_str());

    const char* key = nullptr;
    const char* instance = nullptr;
    const char* file = nullptr;
    ui_.reqArgString(MSG_KEY, key);
    ui_.hasArgString(MSG_INSTANCE, instance);
    ui_.hasArgString(MSG_FILE, file);
    KivClTraceToolSession session(ui_, key, instance, file);

    KivClTraceFilter filter = session.environment().getSettings().getFilter();
    applyFilterOptions(filter);
    KivClTraceFormatter formatter(session.environment(), &filter);
    formatter.attachKivMessageCatalog(ui_.getMessageCatalog());
    applyFormatOptions(formatter);

    const bool init = ui_.hasArgSwitch(MSG_INIT);
    const bool show = ui_.hasArgSwitch(MSG_DISPLAY);
    const bool dump = ui_.hasArgSwitch(MSG_DUMP);
    const bool reset = ui_.hasArgSwitch(MSG_RESET);
    if (init) createFile(session);
    if (show) display(session, formatter);
    if (dump) dumpFile(session);
    if (reset) resetFile(session);
    if (ui_.hasArgSwitch(MSG_VERBOSE) || !(init || show || dump || reset)) showStatus(session, formatter);
    ui_.getOutputStream().flush();
    return KIV_TRACETOOL_EXIT_OK;
}

void KivClTraceController::applyFilterOptions(KivClTraceFilter& filter) const {
    const char* value = nullptr;
    if (ui_.hasArgString(MSG_FDETAIL, value)) filter.setDetail(value);
    if (ui_.hasArgString(MSG_FCOMPIDS, value) && *value != '\0') {
        filter.disableAllComponentIds();
        filter.enableComponentIds(value);
    }
    long id = 0;
    if (ui_.hasArgNumval(MSG_FPID, id)) filter.setProcessId(static_cast<uint32_t>(id));
    if (ui_.hasArgNumval(MSG_FTID, id)) filter.setThreadId(static_cast<uint32_t>(id));
}

void KivClTraceController::applyFormatOptions(KivClTraceFormatter& formatter) const {
    const char* value = nullptr;
    // The texts stay in argv, which outlives the formatter.
    if (ui_.hasArgString(MSG_FORMAT, value)) formatter.setFormatString(value);
    if (ui_.hasArgString(MSG_FINDENT, value)) formatter.setDisplayIndentation(value);
    formatter.nest = ui_.hasArgSwitch(MSG_FNEST);
    formatter.functionHeaders = !ui_.hasArgSwitch(MSG_FNOFHD);
    formatter.everyFunctionName = !ui_.hasArgSwitch(MSG_FSSFHD);
    formatter.hex = ui_.hasArgSwitch(MSG_FHEX);
    formatter.bin = ui_.hasArgSwitch(MSG_FBIN);
}

void KivClTraceController::display(KivClTraceToolSession& session, KivClTraceFormatter& formatter) const {
    session.requireTraceFile();
    try {
        formatter.format(ui_.getOutputStream());
    } catch (const KivClExceptionFatal& failure) {
        session.failTraceFile(failure.getError().errorId);
    }
    ui_.getOutputStream().flush();
}

void KivClTraceController::createFile(KivClTraceToolSession& session) const {
    const int fd = openRegularFile(traceFileOf(session), O_WRONLY | O_CREAT);
    if (fd < 0) session.failInit(traceFileOf(session));
    ::close(fd);
}

void KivClTraceController::dumpFile(KivClTraceToolSession& session) const {
    session.requireTraceFile();
    std::ifstream input(traceFileOf(session), std::ios::binary);
    if (!input.is_open()) session.failTraceFile(KIV_ERRID_TRACEFORMAT_COULD_NOT_OPEN);
    std::ostream& out = ui_.getOutputStream();
    ui_.formatHeader(traceFileOf(session));
    char bytes[KivClStrepHexDump::BYTES_PER_LINE];
    for (unsigned long offset = 0;; offset += KivClStrepHexDump::BYTES_PER_LINE) {
        input.read(bytes, sizeof(bytes));
        const unsigned long count = static_cast<unsigned long>(input.gcount());
        if (count == 0) break;
        out << "  " << KivClStrepHexDump(offset, bytes, count).getAsCString() << '\n';
    }
    out.flush();
}

void KivClTraceController::resetFile(KivClTraceToolSession& session) const {
    const int fd = openRegularFile(traceFileOf(session), O_WRONLY);
    if (fd < 0) {
        if (errno == ENOENT) return;  // nothing recorded, nothing to clear
        session.failInit(traceFileOf(session));
    }
    const bool cleared = ::ftruncate(fd, 0) == 0;
    ::close(fd);
    if (!cleared) session.failInit(traceFileOf(session));
}

void KivClTraceController::showStatus(KivClTraceToolSession& session, const KivClTraceFormatter& formatter) const {
    KivClTraceEnvironment& environment = session.environment();
    const std::string keyInstance = std::string(session.getKey()) + "/" + session.getInstanceName();
    ui_.formatHeader(MSG_STATUS);
    ui_.newline();
    ui_.format(MSG_KEY_INSTANCE, keyInstance.c_str());
    ui_.formatBool(MSG_ACTIVE, session.instance().isActive());
    ui_.formatBool(MSG_ENABLED, session.instance().isEnabled());
    ui_.formatBool(MSG_SHARED, environment.isSharedMemory());
    ui_.format(MSG_BUFFER_SIZE, static_cast<unsigned long>(environment.getBufferSize()));
    ui_.format(MSG_TRACE_FILE, traceFileOf(session));
    ui_.format(MSG_COMPRESSION, environment.getCompressionRate());
    ui_.format(MSG_ENTRIES, static_cast<unsigned long>(formatter.getEntryCount()));

    const KivClTraceFilter& filter = formatter.getFilter();
    ui_.formatHeader(MSG_FILTER);
    ui_.newline();
    ui_.format(MSG_DETAIL, KivClTraceFilter::getDetailAsCString(filter.getDetail()));
    ui_.format(MSG_FILTER_PID, static_cast<unsigned long>(filter.getProcessId()));
    ui_.format(MSG_FILTER_TID, static_cast<unsigned long>(filter.getThreadId()));
    ui_.formatBool(MSG_COMPONENT_SET, filter.usesCompIdFilter());
    if (filter.usesCompIdFilter()) {
        ui_.format(MSG_INCLUDE, componentRanges(filter, true).c_str());
        ui_.format(MSG_EXCLUDE, componentRanges(filter, false).c_str());
    }
}

std::string KivClTraceController::componentRanges(const KivClTraceFilter& filter, bool enabled) {
    std::string ranges;
    for (unsigned id = 1; id <= KivClTraceFilter::MAX_COMPONENT_ID; ++id) {
        if (filter.isComponentIdEnabled(id) != enabled) continue;
        unsigned last = id;
        while (last < KivClTraceFilter::MAX_COMPONENT_ID && filter.isComponentIdEnabled(last + 1) == enabled) ++last;
        if (!ranges.empty()) ranges += ',';
        ranges += std::to_string(id);
        if (last > id) ranges += '.' + std::to_string(last);
        id = last;
    }
    return ranges;
}
