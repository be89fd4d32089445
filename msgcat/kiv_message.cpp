// Messages: loading a numbered text from a catalog and filling in %1 to %10.
#include <cctype>
#include <climits>
#include <cstring>

#include "kiv_memmgr.hpp"
#include "kiv_msgcat.hpp"
#include "kiv_string.hpp"
#include "util/kiv_bounded.hpp"

namespace {

// What a variable reference prints when the variable is missing or its
// number is out of range.
const char* const MISSING_VARIABLE = "???";

// Failure texts; %1 is the message number, the catalog's name follows.
const char* const FAILURE_MESSAGE = "UNABLE TO LOAD MESSAGE #%1 FROM CATALOG: ";
const char* const FAILURE_CATALOG = "UNABLE TO LOAD MESSAGE CATALOG: ";

bool isDigit(char ch) {
    return isdigit(static_cast<unsigned char>(ch)) != 0;
}

// Reads a number as atol does (leading white space, an optional sign,
// digits), saturating instead of overflowing.
long readNumber(const char* text) {
    while (isspace(static_cast<unsigned char>(*text))) {
        ++text;
    }
    const bool negative = *text == '-';
    if (*text == '-' || *text == '+') {
        ++text;
    }
    long value = 0;
    for (; isDigit(*text); ++text) {
        const long digit = *text - '0';
        value = value > (LONG_MAX - digit) / 10 ? LONG_MAX : value * 10 + digit;
    }
    return negative ? -value : value;
}

// The value a reference to variable n prints.
const char* variableText(long n, const char* const* vars, unsigned long varCount) {
    if (n < 1 || static_cast<unsigned long>(n) > varCount || vars == nullptr ||
        vars[n - 1] == nullptr) {
        return MISSING_VARIABLE;
    }
    return vars[n - 1];
}

// The substitution engine: writes at most limit characters of the expanded
// text and a NUL into out (limit + 1 bytes); returns the characters written.
unsigned long expand(char* out, unsigned long limit, const char* text, const char* const* vars,
                     unsigned long varCount) {
    size_t pos = 0;
    const char* p = text == nullptr ? "" : text;
    while (*p != '\0' && pos < limit) {
        if (*p != '%') {
            out[pos++] = *p++;
        } else if (p[1] == '%') {
            out[pos++] = '%';
            p += 2;
        } else {
            kivAppendBounded(out, pos, limit, variableText(readNumber(p + 1), vars, varCount));
            // Only the digits right after the '%' belong to the reference.
            for (++p; isDigit(*p); ++p) {
            }
        }
    }
    out[pos] = '\0';
    return pos;
}

}  // namespace

KivClMessage::KivClMessage(const KivClMessageCatalog& catalog, unsigned long id)
    : KivClMessage(catalog, id, static_cast<const char**>(nullptr)) {}

KivClMessage::KivClMessage(const KivClMessageCatalog& catalog, unsigned long id, const char* var1,
                           const char* var2, const char* var3, const char* var4,
                           const char* var5, const char* var6, const char* var7,
                           const char* var8, const char* var9, const char* var10)
    : catalog_(&catalog), text_(shortText_), messageId_(0), loaded_(false) {
    shortText_[0] = '\0';
    const char* vars[MAX_VARS] = {var1, var2, var3, var4, var5, var6, var7, var8, var9, var10};
    load(id, vars);
}

KivClMessage::KivClMessage(const KivClMessageCatalog& catalog, unsigned long id, const char** vars)
    : catalog_(&catalog), text_(shortText_), messageId_(0), loaded_(false) {
    shortText_[0] = '\0';
    load(id, vars);
}

KivClMessage::KivClMessage(const KivClMessage& other)
    : catalog_(other.catalog_), text_(shortText_), messageId_(0), loaded_(false) {
    shortText_[0] = '\0';
    *this = other;
}

KivClMessage::~KivClMessage() {
    clearText();
}

KivClMessage& KivClMessage::operator=(const KivClMessage& other) {
    if (this == &other) {
        return *this;
    }
    clearText();
    loaded_ = false;
    if (other.text_ != other.shortText_) {
        const size_t size = strlen(other.text_) + 1;
        char* block = static_cast<char*>(kivMalloc(size));
        memcpy(block, other.text_, size);
        text_ = block;
    } else {
        memcpy(shortText_, other.shortText_, sizeof shortText_);
    }
    messageId_ = other.messageId_;
    loaded_ = other.loaded_;
    return *this;
}

void KivClMessage::setNewMessageId(unsigned long id) {
    load(id, nullptr);
}

void KivClMessage::setNewMessageId(unsigned long id, const char* var1, const char* var2,
                                   const char* var3, const char* var4, const char* var5,
                                   const char* var6, const char* var7, const char* var8,
                                   const char* var9, const char* var10) {
    const char* vars[MAX_VARS] = {var1, var2, var3, var4, var5, var6, var7, var8, var9, var10};
    load(id, vars);
}

unsigned long KivClMessage::replaceVars(char* out, unsigned long outSize, const char* text,
                                        const char* const* vars,
                                        unsigned long varCount) const {
    if (out == nullptr) {
        return 0;
    }
    return expand(out, outSize, text, vars, varCount);
}

void KivClMessage::load(unsigned long id, const char* const* vars) {
    const char* filled[MAX_VARS];
    for (unsigned long i = 0; i < MAX_VARS; ++i) {
        filled[i] = (vars != nullptr && vars[i] != nullptr) ? vars[i] : MISSING_VARIABLE;
    }
    clearText();
    loaded_ = false;
    messageId_ = static_cast<uint32_t>(id);

    char work[MAX_TEXT + 1];
    const char* text = catalog_->lookUp(id);
    if (text != nullptr) {
        expand(work, MAX_TEXT, text, filled, MAX_VARS);
        store(work, "");
        loaded_ = true;
        return;
    }
    // The failure text names the number and, in full, the catalog's file.
    char number[24];
    kivULtoa(id, number);
    const char* failureVars[1] = {number};
    expand(work, MAX_TEXT, catalog_->isOpen() ? FAILURE_MESSAGE : FAILURE_CATALOG, failureVars, 1);
    store(work, catalog_->getAsCString());
}

void KivClMessage::store(const char* head, const char* tail) {
    clearText();
    const size_t headLength = strlen(head);
    const size_t length = headLength + strlen(tail);
    char* target = shortText_;
    if (length > SHORT_TEXT) {
        target = static_cast<char*>(kivMalloc(length + 1));
    }
    memcpy(target, head, headLength);
    memcpy(target + headLength, tail, length - headLength + 1);
    text_ = target;
}

void KivClMessage::clearText() {
    if (text_ != shortText_) {
        kivFree(text_);
    }
    text_ = shortText_;
    shortText_[0] = '\0';
}
