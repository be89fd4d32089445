// Stream persistency: objects that can write themselves to a binary stream
// and read themselves back from one.
//
// The stream form of each class is its own (see the class); readers signal a
// short or malformed stream by setting the stream's failbit, like the
// standard extraction operators, and leave the object unchanged then.
#ifndef KIV_PERSISTENCY_HPP
#define KIV_PERSISTENCY_HPP

#include <istream>
#include <ostream>

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
