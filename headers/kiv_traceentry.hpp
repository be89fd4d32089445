// Trace records: the detail levels and data types of the trace facility, the
// record format shared by the ring buffer and the trace file, and the 6-bit
// text compression.
//
// A record is a 20-byte header (_KivStTraceRecordHeader), the message and the
// function name (each at most 255 bytes as stored, no terminator), then the
// data bytes. Multi-byte fields are in host byte order; records follow one
// another without padding and the trace file has no header of its own.
// KivClTraceEntry builds a record on the caller's stack without touching the
// heap; KivClTraceFileEntry reads the header and texts of one record back
// from a trace file.
//
// Nothing here fails: a null data pointer is recorded as type
// KIV_TRACE_TYPE_DATA_NULL, data longer than the ring is clipped to it (type
// KIV_TRACE_TYPE_DATA_CLIPPED), over-long texts are cut. A null text counts
// as the empty text. kivGetFormatDescription throws KivClExceptionFatal for a
// type above 21 (a damaged trace file).
//
//   unsigned char packed[255];
//   KivClTraceEntry::compressCString(packed, "AB", 255);  // 2: 0x2C 0xCF
//   char text[341];
//   KivClTraceEntry::deCompressCString(text, packed, 2);  // 2: "AB"
//   kivGetFormatDescription(KIV_TRACE_TYPE_INT8).shortName;  // "i8"
#ifndef KIV_TRACEENTRY_HPP
#define KIV_TRACEENTRY_HPP

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <istream>

#include "kiv_exception.hpp"

// How detailed a record is; a filter of detail d passes records of detail <= d.
enum KivEnTraceDetail : int32_t {
    KIV_TRACE_DETAIL_OFF = 0,
    KIV_TRACE_DETAIL_LOW = 1,
    KIV_TRACE_DETAIL_MED = 2,
    KIV_TRACE_DETAIL_HIGH = 3
};

// What the data of a record holds.
enum KivEnTraceDataType : uint32_t {
    KIV_TRACE_TYPE_NONE = 0,
    KIV_TRACE_TYPE_FUNCTION_ENTRY = 1,  // 4-byte nesting level after the entry
    KIV_TRACE_TYPE_FUNCTION_EXIT = 2,   // 4-byte nesting level after the exit
    KIV_TRACE_TYPE_NO_DATA = 3,
    KIV_TRACE_TYPE_DATA = 4,            // raw bytes
    KIV_TRACE_TYPE_DATA_CLIPPED = 5,    // raw bytes cut to the ring capacity
    KIV_TRACE_TYPE_DATA_NULL = 6,       // the caller passed a null pointer
    KIV_TRACE_TYPE_ADDRESS = 7,         // a pointer value, 4 or 8 bytes
    KIV_TRACE_TYPE_CSTRING = 8,
    KIV_TRACE_TYPE_UNICODE = 9,         // raw bytes of a wide string
    KIV_TRACE_TYPE_BOOL = 10,
    KIV_TRACE_TYPE_INT8 = 11,
    KIV_TRACE_TYPE_UINT8 = 12,
    KIV_TRACE_TYPE_INT16 = 13,
    KIV_TRACE_TYPE_UINT16 = 14,
    KIV_TRACE_TYPE_INT32 = 15,
    KIV_TRACE_TYPE_UINT32 = 16,
    KIV_TRACE_TYPE_INT64 = 17,
    KIV_TRACE_TYPE_UINT64 = 18,
    KIV_TRACE_TYPE_FLOAT = 19,
    KIV_TRACE_TYPE_DOUBLE = 20,
    KIV_TRACE_TYPE_LONG_DOUBLE = 21
};

// One row of the data type table: the value and its short and long names.
struct _KivStTraceFormatDescription {
    uint32_t type;
    const char* shortName;
    const char* longName;
};

// Number of rows of the data type table (types 0 to 21).
constexpr uint32_t KIV_TRACE_TYPE_COUNT = 22;

// The row of type; throws KivClExceptionFatal TRACEFORMAT_FILE_CORRUPTED /
// DATA_OUT_OF_BOUNDS at "kiv_trace_format:149" for a type of 22 or more.
const _KivStTraceFormatDescription& kivGetFormatDescription(uint32_t type);

// The fixed header at the start of every record, in host byte order.
struct _KivStTraceRecordHeader {
    uint8_t flags;        // bits 0-4 type, bit 5 compressed texts, bits 6-7 detail
    uint8_t componentId;  // low 8 bits of the caller's component id
    uint8_t length1;      // stored length of the message
    uint8_t length2;      // stored length of the function name
    uint32_t timeStamp;   // kivGetTimeStamp(): monotonic microseconds, low 32 bits
    uint32_t processId;
    uint32_t threadId;    // kernel thread id of the writer
    uint32_t dataLength;
};
static_assert(sizeof(_KivStTraceRecordHeader) == 20, "trace record header must stay 20 bytes");

class KivClTraceEnvironment;
class KivClTraceTextCache;

// One trace record, built on the caller's stack.
class KivClTraceEntry {
public:
    static constexpr uint32_t HEADER_SIZE = sizeof(_KivStTraceRecordHeader);
    // Longest stored text, compressed or not.
    static constexpr uint32_t MAX_TEXT_LENGTH = 255;
    // Header plus both texts at their longest.
    static constexpr uint32_t AREA_SIZE = HEADER_SIZE + 2 * MAX_TEXT_LENGTH;
    // Longest text one compressed text of 255 bytes decodes to.
    static constexpr uint32_t MAX_DECOMPRESSED_LENGTH = 340;

    // An empty record: header and texts all zero, no data.
    explicit KivClTraceEntry(const KivClTraceEnvironment& environment);
    // Builds a record from a call's arguments. The data is not copied: data
    // must stay valid until the record has been written to the buffer.
    KivClTraceEntry(const KivClTraceEnvironment& environment, KivEnTraceDetail detail,
                    unsigned short componentId, KivEnTraceDataType type,
                    const char* functionName, const char* message, const void* data,
                    unsigned int length);
    // The same record, with the compressed texts taken from cache when it
    // holds them (and kept there when it does not); a null cache compresses
    // every text. The record's bytes do not depend on the cache.
    KivClTraceEntry(KivClTraceTextCache* cache, const KivClTraceEnvironment& environment,
                    KivEnTraceDetail detail, unsigned short componentId, KivEnTraceDataType type,
                    const char* functionName, const char* message, const void* data,
                    unsigned int length);
    virtual ~KivClTraceEntry();

    // The data type bits of the record.
    KivEnTraceDataType getType() const;
    // Replaces the type bits and keeps the detail.
    void setType(KivEnTraceDataType type);
    KivEnTraceDetail getDetail() const;
    // Replaces the detail bits and keeps the type and compression bit.
    void setDetail(KivEnTraceDetail detail);
    bool isCompressed() const;

    // A copy of the header (the area may be unaligned for direct access).
    _KivStTraceRecordHeader getHeader() const;
    // Header and texts, getHeaderAndTextLength() bytes: what the buffer stores
    // before the data.
    const unsigned char* getHeaderAndText() const { return area_; }
    uint32_t getHeaderAndTextLength() const { return headerAndTextLength_; }
    const void* getData() const { return data_; }
    uint32_t getDataLength() const {
        uint32_t length;
        memcpy(&length, area_ + offsetof(_KivStTraceRecordHeader, dataLength), sizeof(length));
        return length;
    }

    // Packs text (up to its NUL) into destination with the 6-bit code: each
    // character of the 63-character alphabet takes 6 bits, any other byte
    // the escape code 63 and its 8 bits. Stops before a character that would
    // not fit in limit bytes, and after any character that leaves less than
    // one whole byte free. The last byte is filled with one-bits. Returns the
    // bytes used (at most limit); a limit of 0 writes nothing.
    static uint32_t compressCString(unsigned char* destination, const char* text, uint32_t limit);
    // Unpacks sourceBytes bytes into destination and terminates it; returns
    // the characters written. destination must hold
    // sourceBytes * 8 / 6 + 1 bytes (341 for 255 bytes).
    static uint32_t deCompressCString(char* destination, const unsigned char* source,
                                      uint32_t sourceBytes);
    // Writes the low bitCount (1..8) bits of value, most significant first,
    // at bitPosition (bit 0 is the top bit of byte 0). Bits after the write
    // in the bytes it touches end up cleared; a write that fits the current
    // byte leaves the next byte alone.
    static void compressWriteBits(unsigned char* buffer, uint32_t bitPosition, uint32_t value,
                                  uint32_t bitCount);
    // Reads bitCount (1..8) bits at bitPosition; touches the next byte only
    // when the bits reach into it.
    static uint32_t deCompressReadBits(const unsigned char* buffer, uint32_t bitPosition,
                                       uint32_t bitCount);

protected:
    const KivClTraceEnvironment* environment_;
    unsigned char area_[AREA_SIZE];
    uint32_t headerAndTextLength_;
    const void* data_;
};

// Remembers the compressed form of recently recorded texts, so that a text
// recorded again (typically a call site's literal message or function name)
// is copied instead of compressed anew. A slot is chosen by the text's
// address and answers only while the characters there are still the ones it
// compressed, so a reused buffer with new contents is compressed afresh.
// Not thread-safe: like the trace buffer, a cache serves one recording
// thread at a time.
class KivClTraceTextCache {
public:
    static constexpr uint32_t SLOT_COUNT = 32;
    // Longest text a slot keeps; longer ones are compressed on every call.
    static constexpr uint32_t MAX_CACHED_LENGTH = 96;
    // Most bytes MAX_CACHED_LENGTH characters compress to (each escaped).
    static constexpr uint32_t MAX_PACKED_LENGTH = (MAX_CACHED_LENGTH * 14 + 7) / 8;
    static_assert(MAX_PACKED_LENGTH < KivClTraceEntry::MAX_TEXT_LENGTH,
                  "a kept text never reaches the stored text limit");

    KivClTraceTextCache();
    KivClTraceTextCache(const KivClTraceTextCache&) = delete;
    KivClTraceTextCache& operator=(const KivClTraceTextCache&) = delete;

    // Writes and returns what KivClTraceEntry::compressCString(destination,
    // text, KivClTraceEntry::MAX_TEXT_LENGTH) would.
    uint32_t compress(unsigned char* destination, const char* text);

private:
    struct Slot {
        const char* text;  // address the characters were taken from, or null
        uint32_t length;
        uint32_t packedLength;
        char characters[MAX_CACHED_LENGTH];
        unsigned char packed[MAX_PACKED_LENGTH];
    };
    Slot slots_[SLOT_COUNT];
};

// One record read back from a trace file: header, stored texts and the
// decoded message and function name. The data bytes stay in the stream.
class KivClTraceFileEntry : public KivClTraceEntry {
public:
    // Compression statistics go to environment while reading.
    explicit KivClTraceFileEntry(KivClTraceEnvironment& environment);

    // Reads the header and the texts of the next record. False at a clean end
    // of the file (no byte left); the header and texts are then cleared. A
    // file cut inside the header or texts still returns true with the
    // stream's end-of-file flag set, so that the reader reports the damage.
    bool read(std::istream& stream);

    const char* getMessage() const { return message_; }
    uint32_t getMessageLength() const { return messageLength_; }
    const char* getFunctionName() const { return functionName_; }
    uint32_t getFunctionNameLength() const { return functionNameLength_; }

private:
    uint32_t decodeText(char* destination, const unsigned char* source, uint32_t length);

    KivClTraceEnvironment* readEnvironment_;
    char functionName_[516];
    uint32_t functionNameLength_;
    char message_[512];
    uint32_t messageLength_;
};

#endif  // KIV_TRACEENTRY_HPP
