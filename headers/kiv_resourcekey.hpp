// Resource keys: portable names for resources that cooperating processes
// find by the same name (a semaphore, a shared memory area).
//
// A name joins a kind prefix, the application's key and an optional instance
// name with ":", each reduced to the 65 characters
// "a-z A-Z 0-9 _ - @" ("/" becomes ":", any other byte b becomes the set's
// character at position b modulo 65). The name holds at most 255
// characters; a longer key or instance is cut there, never overrun.
// On this platform no operating-system object is created: a semaphore key
// only carries its name. Nothing here allocates or fails.
//
//   KivClResourceKeySemaphore key("my app/x", "KIVTRACEINSTANCE0");
//   key.getName();     // "---:myGapp:x:KIVTRACEINSTANCE0"
//   key.getKeyPart();  // "myGapp:x:KIVTRACEINSTANCE0"
//   key.matches("---:myGapp:x:KIVTRACEINSTANCE0:more");  // true
#ifndef KIV_RESOURCEKEY_HPP
#define KIV_RESOURCEKEY_HPP

#include <cstdint>

// The portable name of a resource: kind prefix, key and instance.
class KivClResourceKeyABase {
public:
    enum { NAME_CAPACITY = 255 };

    // Builds the name from the three parts; a null instance is left out.
    KivClResourceKeyABase(const char* kindPrefix, const char* key, const char* instance);
    KivClResourceKeyABase(const KivClResourceKeyABase& other);
    virtual ~KivClResourceKeyABase();

    // Copies the name; the key part points into this object's own name.
    KivClResourceKeyABase& operator=(const KivClResourceKeyABase& other);

    // Appends ":" (unless the name is empty) and the reduced part; stops at
    // NAME_CAPACITY characters. A null part appends only the separator.
    void add(const char* part);

    // True when text begins with this name (its first getLength() bytes
    // equal the name). A null text matches nothing.
    bool matches(const char* text) const;

    const char* getName() const { return name_; }
    const char* getKeyPart() const { return keyPart_; }
    uint32_t getLength() const { return length_; }

private:
    uint32_t length_;
    char name_[NAME_CAPACITY + 1];
    char* keyPart_;
};

// The key of a semaphore: kind prefix "???", which the name shows as "---".
class KivClResourceKeySemaphore : public KivClResourceKeyABase {
public:
    KivClResourceKeySemaphore(const char* key, const char* instance);
};

#endif  // KIV_RESOURCEKEY_HPP
