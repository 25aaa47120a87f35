// String matching: shell-style patterns, pattern lists, case-insensitive
// comparison and trimming. Nothing here allocates: the matchers work on
// pattern ranges inside the caller's text.
#include "vurncore/reda_string.h"

#include <cstring>

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

unsigned char asciiLower(char c) {
    const auto u = static_cast<unsigned char>(c);
    return (u >= 'A' && u <= 'Z') ? static_cast<unsigned char>(u - 'A' + 'a') : u;
}

// Reads one possibly escaped character of a bracket expression at *cursor
// and advances past it.
unsigned char bracketCharI(const char **cursor, const char *end) {
    const char *at = *cursor;
    if (*at == '\\' && at + 1 < end) {
        *cursor = at + 2;
        return static_cast<unsigned char>(at[1]);
    }
    *cursor = at + 1;
    return static_cast<unsigned char>(*at);
}

// Matches `c` against the bracket expression that starts at `open` ('[').
// Returns false when the expression has no closing ']': the '[' is then an
// ordinary character. Otherwise stores in *matched whether `c` is in the set
// and in *next the position after the ']'.
bool matchBracketI(const char *open, const char *end, unsigned char c, bool *matched, const char **next) {
    const char *cursor = open + 1;
    const bool negate = cursor < end && *cursor == '!';
    if (negate) {
        ++cursor;
    }
    bool inSet = false;
    bool first = true;  // a ']' right after '[' or "[!" is a member, not the end
    while (cursor < end && (first || *cursor != ']')) {
        first = false;
        const unsigned char low = bracketCharI(&cursor, end);
        unsigned char high = low;
        if (cursor + 1 < end && *cursor == '-' && cursor[1] != ']') {
            ++cursor;
            high = bracketCharI(&cursor, end);
        }
        if (c >= low && c <= high) {
            inSet = true;
        }
    }
    if (cursor >= end) {
        return false;
    }
    *matched = inSet != negate;
    *next = cursor + 1;
    return true;
}

// Matches the single pattern item at `item` (not '*') against `c`, a
// character of the string (never the NUL). On a match stores the position
// of the next item.
bool matchItemI(const char *item, const char *end, char c, const char **next) {
    switch (*item) {
    case '?':
        *next = item + 1;
        return true;
    case '[': {
        bool matched = false;
        if (matchBracketI(item, end, static_cast<unsigned char>(c), &matched, next)) {
            return matched;
        }
        *next = item + 1;
        return c == '[';
    }
    case '\\':
        if (item + 1 < end) {
            *next = item + 2;
            return c == item[1];
        }
        *next = item + 1;  // a trailing backslash stands for itself
        return c == '\\';
    default:
        *next = item + 1;
        return c == *item;
    }
}

// Matches the whole of `string` against the pattern [pattern, end). A '*'
// matches any run of characters, so on a mismatch it is enough to let the
// most recent '*' swallow one more character: the search is linear in the
// pattern for each starting point and never recurses.
bool matchPatternI(const char *pattern, const char *end, const char *string) {
    const char *starPattern = nullptr;  // the item after the last '*' met
    const char *starString = nullptr;   // where that '*' currently stops
    const char *p = pattern;
    const char *s = string;
    for (;;) {
        if (p < end && *p == '*') {
            while (p < end && *p == '*') {
                ++p;
            }
            if (p == end) {
                return true;
            }
            starPattern = p;
            starString = s;
            continue;
        }
        const char *next = nullptr;
        if (p < end && *s != '\0' && matchItemI(p, end, *s, &next)) {
            p = next;
            ++s;
            continue;
        }
        if (p == end && *s == '\0') {
            return true;
        }
        if (starPattern == nullptr || *starString == '\0') {
            return false;
        }
        p = starPattern;
        s = ++starString;
    }
}

}  // namespace

extern "C" {

int REDAString_fnmatch(const char *pattern, const char *string, int flags) {
    (void)flags;  // no flag is defined: every call has the same meaning
    if (pattern == nullptr || string == nullptr) {
        return 1;
    }
    return matchPatternI(pattern, pattern + std::strlen(pattern), string) ? 0 : 1;
}

ZELBoolean REDAString_hasMatchingElement(const char *list, const char *element, char separator) {
    if (list == nullptr || element == nullptr) {
        return ZEL_FALSE;
    }
    const char *cursor = list;
    for (;;) {
        const char *stop = cursor;
        while (*stop != '\0' && *stop != separator) {
            ++stop;
        }
        const char *first = cursor;
        const char *last = stop;
        while (first < last && isBlank(*first)) {
            ++first;
        }
        while (last > first && isBlank(last[-1])) {
            --last;
        }
        if (first < last && matchPatternI(first, last, element)) {
            return ZEL_TRUE;
        }
        if (*stop == '\0') {
            return ZEL_FALSE;
        }
        cursor = stop + 1;
    }
}

int REDAString_iCompare(const char *left, const char *right) {
    if (left == nullptr || right == nullptr) {
        return (left == right) ? 0 : (left == nullptr ? -1 : 1);
    }
    for (;; ++left, ++right) {
        const unsigned char l = asciiLower(*left);
        const unsigned char r = asciiLower(*right);
        if (l != r || l == '\0') {
            return static_cast<int>(l) - static_cast<int>(r);
        }
    }
}

char *ZELXMLHelper_strTrim(char *str) {
    if (str == nullptr) {
        return nullptr;
    }
    char *first = str;
    while (isBlank(*first)) {
        ++first;
    }
    size_t length = std::strlen(first);
    while (length > 0 && isBlank(first[length - 1])) {
        --length;
    }
    std::memmove(str, first, length);
    str[length] = '\0';
    return str;
}

}  // extern "C"
