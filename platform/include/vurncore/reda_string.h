/* String matching helpers. */
#ifndef VURNCORE_REDA_STRING_H
#define VURNCORE_REDA_STRING_H

#include "vurncore/dll.h"
#include "vurncore/types.h"

ZEL_EXTERN_C_BEGIN

/* Shell-style match of `string` against `pattern` ('*', '?', '[...]' with
 * ranges and '!' negation, '\\' escapes). Returns 0 on a match and a
 * non-zero value otherwise, like fnmatch; a '[' without its ']' is an
 * ordinary character, and '*' also matches '/'. A NULL pattern or string
 * matches nothing. No flags are defined yet: pass 0. */
VURNCORE_API int REDAString_fnmatch(const char *pattern, const char *string, int flags);

/* True when some element of `list` (elements separated by `separator`, each
 * trimmed of blanks) is a pattern that `element` matches (as
 * REDAString_fnmatch). Empty elements and NULL arguments match nothing. */
VURNCORE_API ZELBoolean REDAString_hasMatchingElement(const char *list, const char *element, char separator);

/* Case-insensitive comparison (ASCII): <0, 0 or >0 like strcmp. A NULL
 * string sorts before every other string. */
VURNCORE_API int REDAString_iCompare(const char *left, const char *right);

/* Trims blanks (space, tab, CR, LF) from both ends of `str` in place; the
 * text is moved to the start of the buffer. Returns `str`, or NULL for a
 * NULL `str`. */
VURNCORE_API char *ZELXMLHelper_strTrim(char *str);

ZEL_EXTERN_C_END

#endif
