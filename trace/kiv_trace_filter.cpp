// Trace filter: detail, component set, process and thread id tests.
#include "kiv_tracefilter.hpp"

#include <cctype>
#include <cstdlib>
#include <cstring>

#include "kiv_string.hpp"

namespace {

const char* const gs_apszDetailNames[] = {"OFF", "LOW", "MED", "HIGH"};

uint32_t readNumber(const char* text) {
    if (text == nullptr) return 0;
    return static_cast<uint32_t>(strtol(text, nullptr, 10));
}

}  // namespace

KivClTraceFilter::KivClTraceFilter()
    : detail_(KIV_TRACE_DETAIL_LOW), processId_(0), threadId_(0) {
    enableAllComponentIds();
}

void KivClTraceFilter::setDetail(const char* text) {
    detail_ = KIV_TRACE_DETAIL_OFF;
    if (text == nullptr) return;
    for (int level = KIV_TRACE_DETAIL_HIGH; level > KIV_TRACE_DETAIL_OFF; --level) {
        const char* name = gs_apszDetailNames[level];
        if (strncmpi(text, name, strlen(name)) == 0) {
            detail_ = level;
            return;
        }
    }
}

const char* KivClTraceFilter::getDetailAsCString(int detail) {
    if (detail < KIV_TRACE_DETAIL_OFF || detail > KIV_TRACE_DETAIL_HIGH) return nullptr;
    return gs_apszDetailNames[detail];
}

void KivClTraceFilter::setProcessId(const char* text) { processId_ = readNumber(text); }

void KivClTraceFilter::setThreadId(const char* text) { threadId_ = readNumber(text); }

void KivClTraceFilter::enableComponentId(unsigned id) {
    id &= MAX_COMPONENT_ID;
    componentIds_[id / 8] = static_cast<uint8_t>(componentIds_[id / 8] | (1u << (id % 8)));
}

void KivClTraceFilter::disableComponentId(unsigned id) {
    id &= MAX_COMPONENT_ID;
    componentIds_[id / 8] = static_cast<uint8_t>(componentIds_[id / 8] & ~(1u << (id % 8)));
}

void KivClTraceFilter::enableAllComponentIds() { memset(componentIds_, 0xFF, sizeof(componentIds_)); }

void KivClTraceFilter::disableAllComponentIds() { memset(componentIds_, 0, sizeof(componentIds_)); }

void KivClTraceFilter::setComponentIdSet(unsigned first, unsigned last, bool enable) {
    if (first == 0) return;
    unsigned end = last == 0 ? first : last;
    if (end > MAX_COMPONENT_ID) end = MAX_COMPONENT_ID;
    for (unsigned id = first; id <= end; ++id) {
        if (enable) {
            enableComponentId(id);
        } else {
            disableComponentId(id);
        }
    }
}

void KivClTraceFilter::enableComponentIds(const char* text) {
    unsigned first = 0;
    unsigned last = 0;
    unsigned* target = &first;
    bool include = true;
    for (const char* p = text ? text : ""; *p; ++p) {
        const unsigned char c = static_cast<unsigned char>(*p);
        if (isdigit(c)) {
            // Only the low 16 bits are kept, so long digit runs cannot overflow.
            unsigned value = 0;
            for (; isdigit(static_cast<unsigned char>(*p)); ++p) {
                value = (value * 10 + static_cast<unsigned>(*p - '0')) & 0xFFFFu;
            }
            *target = value;
            --p;
        } else if (c == '.') {
            target = &last;
        } else if (c == '*') {
            first = 1;
            last = MAX_COMPONENT_ID;
        } else if (c == '+') {
            include = true;
        } else if (c == '-') {
            include = false;
        } else if (c == ',') {
            setComponentIdSet(first, last, include);
            first = last = 0;
            target = &first;
            include = true;
        }
    }
    setComponentIdSet(first, last, include);
}

bool KivClTraceFilter::usesCompIdFilter() const {
    for (unsigned id = 1; id <= MAX_COMPONENT_ID; ++id) {
        if (!isComponentIdEnabled(id)) return true;
    }
    return false;
}
