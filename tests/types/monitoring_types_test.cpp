// Every monitoring type: a sample with every member set (strings and
// sequences at and below their bounds) survives copy, a trip through a
// sequence, serialization in both byte orders and deserialization; it
// prints, initializes with parameters, and has a complete type code.
#include <cstddef>
#include <vector>

#include <gtest/gtest.h>

#include "heap_check.h"
#include "log_capture.h"
#include "sample_filler.h"
#include "types_test_support.h"

namespace {

using typestest::AnyType;
using typestest::Buffer;
using typestest::Octets;
using typestest::serialized;

class MonitoringTypesTest : public zeltest::HeapCheckedTest {};

TEST_F(MonitoringTypesTest, EveryTypeFilledToItsBoundsRoundTripsInBothByteOrders) {
    zeltest::LogCapture log;
    for (const AnyType &type : typestest::allTypes()) {
        SCOPED_TRACE(type.flatName);
        EXPECT_STREQ(DDS_TypeCode_name(type.typeCode()), type.desc->name);
        EXPECT_GT(DDS_TypeCode_get_serialized_size(type.typeCode()), 0u) << "type code incomplete";

        void *original = type.create();
        void *copy = type.create();
        void *fromSequence = type.create();
        ASSERT_TRUE(original != nullptr && copy != nullptr && fromSequence != nullptr);
        typestest::Filler filler(true);
        ASSERT_TRUE(filler.fill(type.desc, original));
        ASSERT_TRUE(type.copy(copy, original));
        ASSERT_TRUE(type.throughSequence(original, fromSequence));

        for (DDS_UnsignedShort id : {DDS_UnsignedShort{0}, DDS_UnsignedShort{1}}) {
            const Octets octets = serialized(type, original, id);
            EXPECT_LE(octets.size(), type.maxSize(id));
            EXPECT_GE(octets.size(), type.minSize(id));
            EXPECT_EQ(serialized(type, copy, id), octets) << "a copy serializes as its original";
            EXPECT_EQ(serialized(type, fromSequence, id), octets) << "so does an element of a copied sequence";

            void *back = type.create();
            ASSERT_NE(back, nullptr);
            Buffer in(octets);
            ASSERT_TRUE(type.deserialize(back, &in.stream));
            EXPECT_EQ(serialized(type, back, id), octets) << "deserialization restores every member";
            type.destroy(back);
        }

        log.clear();
        type.print(original);
        ASSERT_FALSE(log.lines().empty());
        EXPECT_EQ(log.lines().front().text.rfind("sample:", 0), 0u);

        // On the stack, with allocation parameters.
        std::vector<std::max_align_t> storage(type.desc->size / sizeof(std::max_align_t) + 1);
        EXPECT_TRUE(type.initializeEx(storage.data()));
        type.finalizeEx(storage.data());

        type.destroy(fromSequence);
        type.destroy(copy);
        type.destroy(original);
    }
}

}  // namespace
