// Cursor interfaces shared by the usage cursor, the argument cursors and the
// ini section and option cursors.
#ifndef KIV_CURSOR_HPP
#define KIV_CURSOR_HPP

// A forward cursor: valid while it stands on an element.
class KivClUniDirCursorABase {
public:
    virtual ~KivClUniDirCursorABase() = default;
    virtual bool isValid() const = 0;
    virtual bool setToFirst() = 0;
    virtual bool setToNext() = 0;
};

// A cursor that can also move backwards; the concrete cursors add
// setToLast and setToPrevious.
class KivClBiDirCursorABase : public KivClUniDirCursorABase {
public:
    ~KivClBiDirCursorABase() override = default;
};

#endif  // KIV_CURSOR_HPP
