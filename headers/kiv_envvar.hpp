// Environment variables: the library's one road to the process environment.
//
// KivClEnvironmentVariableABase reads a variable, KivClEnvironmentVariable
// also changes it, KivClEnvironmentVariableQueryOnly reads one variable after
// another under a changeable name. hasValueEnabled() is the single rule for
// switch-like variables: "ON", "YES", "TRUE" or "1" in any case.
//
// Names hold at most 40 characters and must not contain "=". A longer name
// (or one with "=") is refused rather than cut, because a cut name would read
// or change a different variable: such an object holds the empty name, reads
// as unset and refuses every change. Changes hand the environment a copy that
// it owns (setenv), so values have no length limit and an object may be
// destroyed while its variable stays set.
//
// Failure policy: nothing throws. A refused name or a change the
// environment refuses makes the call return false (resetValue: -1).
//
//   KivClEnvironmentVariable verbose("APP_VERBOSE", "yes");  // sets it now
//   verbose.hasValueEnabled();     // true
//   verbose.appendValue("!");      // value "yes!"
//   verbose.hasValueEnabled();     // false: not one of the four words
//   KivClEnvironmentVariableABase("A=B").hasValidName();  // false
//
// Warning: setNewValue, appendValue, resetValue and the constructor of
// KivClEnvironmentVariable replace or remove the variable for the whole
// process, whatever another part of the program set before.
#ifndef KIV_ENVVAR_HPP
#define KIV_ENVVAR_HPP

#include <cstddef>

// Read access to one environment variable by name.
class KivClEnvironmentVariableABase {
public:
    static constexpr size_t MAX_NAME_LENGTH = 40;

    explicit KivClEnvironmentVariableABase(const char* name);

    // Copies name into the object; returns false (and holds the empty name)
    // when name is null, longer than 40 characters or contains "=".
    bool initName(const char* name);
    const char* getName() const { return name_; }
    // False when the last name given was refused.
    bool hasValidName() const { return name_[0] != '\0'; }

    // Current value from the environment, or null when unset. The text
    // belongs to the environment.
    const char* getValue() const;
    // The variable is set (the empty value counts as set).
    bool hasValue() const;
    // The variable is set to "ON", "YES", "TRUE" or "1", ignoring case.
    bool hasValueEnabled() const;

private:
    char name_[MAX_NAME_LENGTH + 1];
};

// One environment variable that may also be changed.
class KivClEnvironmentVariable : public KivClEnvironmentVariableABase {
public:
    // Names the variable and sets it to value at once (a null value removes
    // it), as setNewValue does.
    KivClEnvironmentVariable(const char* name, const char* value);

    // Sets the variable to value; a null value removes it. Returns false when
    // the environment refuses the change or the name was refused.
    bool setNewValue(const char* value);
    // Appends suffix to the current value (or to "" when unset); no separator
    // is inserted.
    bool appendValue(const char* suffix);
    // Removes the variable; 0 on success, -1 on failure.
    int resetValue();
};

// Reads one variable after another under a name that may change.
class KivClEnvironmentVariableQueryOnly : public KivClEnvironmentVariableABase {
public:
    // Holds the empty name (reads as unset) until setNewName.
    KivClEnvironmentVariableQueryOnly();
    // Reads the variable other names.
    explicit KivClEnvironmentVariableQueryOnly(const KivClEnvironmentVariableABase& other);

    // Reads another variable from now on; false for a refused name.
    bool setNewName(const char* name) { return initName(name); }
};

#endif  // KIV_ENVVAR_HPP
