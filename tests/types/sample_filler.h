// Sets every member of a sample through its type's descriptor, for tests
// that walk all generated types alike.
#pragma once

#include <cstdint>

#include "vurncore/cdr_type.h"

namespace typestest {

// Gives every member a value other than its initial one. Small samples have
// strings of 1 to 4 characters and sequences of one or two elements, so that
// they can be cut at every length; full ones alternate strings and sequences
// between their bound and just below it (unbounded ones 40 characters or 3
// elements, sequences of structs at most 4 long to keep nested QoS small).
class Filler {
public:
    explicit Filler(bool toBounds) : toBounds_(toBounds) {}
    bool fill(const ZELCdrTypeDesc *type, void *value);

private:
    bool fillString(const ZELCdrTypeDesc *type, char **value, uint32_t n);
    bool fillSequence(const ZELCdrTypeDesc *type, ZELSequence *value, uint32_t n);

    bool toBounds_;
    uint32_t counter_ = 0;
};

}  // namespace typestest
