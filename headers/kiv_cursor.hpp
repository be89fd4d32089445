// Cursor interfaces shared by the usage cursor, the argument cursors and the
// ini section and option cursors, so that one loop shape walks any of them.
//
// A cursor stands on one element or is not valid. setToFirst and setToNext
// return whether the cursor stands on an element afterwards; nothing else
// can fail and nothing throws. A cursor owns nothing: what it walks must
// outlive it.
//
//   KivClIniFileSectionCursor sections(ini);
//   for (bool ok = sections.setToFirst(); ok; ok = sections.setToNext())
//       std::cout << sections.getSection() << "\n";   // every section name, in file order
#ifndef KIV_CURSOR_HPP
#define KIV_CURSOR_HPP

// A forward cursor: valid while it stands on an element.
class KivClUniDirCursorABase {
public:
    virtual ~KivClUniDirCursorABase() = default;
    // The cursor stands on an element.
    virtual bool isValid() const = 0;
    // Moves to the first element; false (not valid) when there is none.
    virtual bool setToFirst() = 0;
    // Moves one element on; false (not valid) past the last one.
    virtual bool setToNext() = 0;
};

// A cursor that can also move backwards; the concrete cursors add
// setToLast and setToPrevious.
class KivClBiDirCursorABase : public KivClUniDirCursorABase {
public:
    ~KivClBiDirCursorABase() override = default;
};

#endif  // KIV_CURSOR_HPP
