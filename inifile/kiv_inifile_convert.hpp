// Value conversions shared by the name-based queries of the ini file and the
// option cursor, so that both convert a value text the same way.
#ifndef KIV_INIFILE_CONVERT_HPP
#define KIV_INIFILE_CONVERT_HPP

namespace kivini {

// atol, strtoul base 10, atoi, strtoul base 10 kept to unsigned int.
void convertValue(const char* text, long& value);
void convertValue(const char* text, unsigned long& value);
void convertValue(const char* text, int& value);
void convertValue(const char* text, unsigned int& value);
// A text beginning with "'" is read as a quoted character, any other text
// gives its first character.
void convertValue(const char* text, char& value);
// text occurs, ignoring case, within trueTokens.
bool isTrueValue(const char* trueTokens, const char* text);

}  // namespace kivini

#endif  // KIV_INIFILE_CONVERT_HPP
