// Stream persistency: objects that can write themselves to a binary stream
// and read themselves back from one.
//
// The stream form of each class is its own (see the class); readers signal a
// short or malformed stream by setting the stream's failbit, like the
// standard extraction operators, and leave the object unchanged then.
//
//   KivClBitArray bits(12);
//   bits.setBit(3);
//   std::stringstream stream;
//   bits.write(stream);     // 6 bytes: the count 12 (4 bytes), 2 storage bytes
//   KivClBitArray copy(1);
//   copy.read(stream);      // copy: 12 bits, bit 3 set
//   copy.read(stream);      // nothing left: failbit set, copy unchanged
//
// Warning: read() replaces the object's contents with what it reads.
#ifndef KIV_PERSISTENCY_HPP
#define KIV_PERSISTENCY_HPP

#include <istream>
#include <ostream>

// The interface of an object with a binary stream form.
class KivClPersistencyABase {
public:
    virtual ~KivClPersistencyABase();

    // Appends the object's stream form to out.
    virtual void write(std::ostream& out) const = 0;
    // Replaces the object's contents by the stream form read from in.
    virtual void read(std::istream& in) = 0;

protected:
    KivClPersistencyABase() = default;
    KivClPersistencyABase(const KivClPersistencyABase&) = default;
    KivClPersistencyABase& operator=(const KivClPersistencyABase&) = default;
};

#endif  // KIV_PERSISTENCY_HPP
