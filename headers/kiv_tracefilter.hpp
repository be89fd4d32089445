// Trace filter: which trace records matter, by detail level, component id
// and, when formatting, process id and thread id.
//
// One filter lives in the trace settings and decides at recording time which
// calls become records (detail and component id only); a formatter uses that
// filter or one of its own, where a process id or thread id other than 0 must
// match as well. Component ids are 0..255; component id 0 always passes. An
// id above 255 is tested by its low 8 bits, the part a record keeps.
//
// Nothing here fails: unknown detail texts mean OFF, texts that are not
// numbers read as 0 (no process or thread filter), out-of-range component ids
// are cut to 255 or ignored as the component set syntax says.
//
// Component set syntax (read left to right, items separated by ","): a
// number, or a range first.last, or "*" for 1..255; a "-" in an item removes
// its ids instead of adding them. Other characters are ignored.
//
//   KivClTraceFilter filter;
//   filter.disableAllComponentIds();
//   filter.enableComponentIds("1.5,-3");  // enables 1, 2, 4 and 5
//   filter.setDetail("medium");           // KIV_TRACE_DETAIL_MED
//   filter.passes(KIV_TRACE_DETAIL_LOW, 4, 100, 7);  // true
//   filter.passes(KIV_TRACE_DETAIL_LOW, 3, 100, 7);  // false
#ifndef KIV_TRACEFILTER_HPP
#define KIV_TRACEFILTER_HPP

#include <cstdint>

#include "kiv_traceentry.hpp"

// Detail level, component ids, process id and thread id that records must match.
class KivClTraceFilter {
public:
    static constexpr unsigned MAX_COMPONENT_ID = 255;

    // Detail LOW, any process, any thread, every component id.
    KivClTraceFilter();

    // Detail from text, compared without regard to case over the level
    // name's length: "HIGH..." 3, else "MED..." 2, else "LOW..." 1, else 0.
    // A null text means OFF.
    void setDetail(const char* text);
    void setDetail(KivEnTraceDetail detail) { detail_ = detail; }
    KivEnTraceDetail getDetail() const { return static_cast<KivEnTraceDetail>(detail_); }
    // "OFF", "LOW", "MED", "HIGH" for 0 to 3; null for any other value.
    static const char* getDetailAsCString(int detail);

    // The text read as a decimal number; a non-number (or null) gives 0,
    // which means no filter.
    void setProcessId(const char* text);
    void setThreadId(const char* text);
    void setProcessId(uint32_t processId) { processId_ = processId; }
    void setThreadId(uint32_t threadId) { threadId_ = threadId; }
    uint32_t getProcessId() const { return processId_; }
    uint32_t getThreadId() const { return threadId_; }

    // Set or clear the bit of one id (its low 8 bits).
    void enableComponentId(unsigned id);
    void disableComponentId(unsigned id);
    void enableAllComponentIds();
    void disableAllComponentIds();
    bool isComponentIdEnabled(unsigned id) const {
        id &= MAX_COMPONENT_ID;
        return (componentIds_[id / 8] & (1u << (id % 8))) != 0;
    }
    // Sets (enable) or clears the bits first..last; last 0 means first alone;
    // the end is lowered to 255. Nothing happens for first 0 or an empty range.
    void setComponentIdSet(unsigned first, unsigned last, bool enable);
    // Applies a component set text (syntax above); null or "" changes nothing.
    void enableComponentIds(const char* text);
    // True when any of the ids 1 to 255 is disabled.
    bool usesCompIdFilter() const;

    // The recording test: detail at most the filter's, component id 0 or
    // enabled. Inline: every recorded and every formatted record asks it.
    bool passes(KivEnTraceDetail detail, unsigned componentId) const {
        if (static_cast<int32_t>(detail) > detail_) return false;
        return (componentId & MAX_COMPONENT_ID) == 0 || isComponentIdEnabled(componentId);
    }
    // The formatting test: as above, and process and thread id match where
    // the filter's value is not 0.
    bool passes(KivEnTraceDetail detail, unsigned componentId, uint32_t processId,
                uint32_t threadId) const {
        if (!passes(detail, componentId)) return false;
        if (processId_ != 0 && processId_ != processId) return false;
        return threadId_ == 0 || threadId_ == threadId;
    }

private:
    int32_t detail_;
    uint32_t processId_;
    uint32_t threadId_;
    uint8_t componentIds_[(MAX_COMPONENT_ID + 1) / 8];
};

static_assert(sizeof(KivClTraceFilter) == 44, "the filter block must stay 44 bytes");

#endif  // KIV_TRACEFILTER_HPP
