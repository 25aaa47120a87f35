// Every DDS_ type of the DDS API and its DDSMonitoring_ twin agree in size,
// alignment and member offsets, and every enumerator in value, so that the
// monitoring library may copy one into the other as plain memory.
#include <cstddef>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DDSMonitoring.h"
#include "vurnc/dds_types.h"

namespace {

struct TypePair {
    const char *renamed;
    const char *declared;
    size_t size[2];
    size_t alignment[2];
};

struct MemberPair {
    const char *type;
    const char *member;
    size_t offset[2];
    size_t size[2];
};

struct EnumeratorPair {
    const char *renamed;
    long value[2];
};

#define ZELIDL_LAYOUT_PAIR_I(renamed, declared) \
    {#renamed, #declared, {sizeof(renamed), sizeof(declared)}, {alignof(renamed), alignof(declared)}},
#define ZELIDL_LAYOUT_STRUCT(renamed, declared) ZELIDL_LAYOUT_PAIR_I(renamed, declared)
#define ZELIDL_LAYOUT_ENUM(renamed, declared) ZELIDL_LAYOUT_PAIR_I(renamed, declared)
#define ZELIDL_LAYOUT_ALIAS(renamed, declared) ZELIDL_LAYOUT_PAIR_I(renamed, declared)
const TypePair kTypes[] = {
#include "vurnc/generated/dds_types_layout.inc"
};

#define ZELIDL_LAYOUT_MEMBER(renamed, declared, member)       \
    {#renamed,                                                \
     #member,                                                 \
     {offsetof(renamed, member), offsetof(declared, member)}, \
     {sizeof(renamed::member), sizeof(declared::member)}},
const MemberPair kMembers[] = {
#include "vurnc/generated/dds_types_layout.inc"
};

#define ZELIDL_LAYOUT_ENUMERATOR(renamed, declared) \
    {#renamed, {static_cast<long>(renamed), static_cast<long>(declared)}},
const EnumeratorPair kEnumerators[] = {
#include "vurnc/generated/dds_types_layout.inc"
};

TEST(DdsTypeLayout, EveryTypeMemberAndEnumeratorMatchesItsMonitoringTwin) {
    for (const TypePair &pair : kTypes) {
        EXPECT_EQ(pair.size[0], pair.size[1]) << pair.renamed << " and " << pair.declared;
        EXPECT_EQ(pair.alignment[0], pair.alignment[1]) << pair.renamed << " and " << pair.declared;
    }
    for (const MemberPair &pair : kMembers) {
        EXPECT_EQ(pair.offset[0], pair.offset[1]) << pair.type << "." << pair.member;
        EXPECT_EQ(pair.size[0], pair.size[1]) << pair.type << "." << pair.member;
    }
    for (const EnumeratorPair &pair : kEnumerators) {
        EXPECT_EQ(pair.value[0], pair.value[1]) << pair.renamed;
    }
}

// The pairs come from vurnc's build and the monitoring types from the
// plug-in's: a type missing on one side means the two were built from
// different type definitions.
TEST(DdsTypeLayout, PairsCoverEveryMirroredMonitoringType) {
    std::set<std::string> paired;
    for (const TypePair &pair : kTypes) {
        paired.insert(pair.declared);
    }
    std::vector<std::string> mirrored;
#define ZELIDL_TYPE(flat) mirrored.push_back(#flat);
#include "DDSMonitoring_types.inc"
    ASSERT_FALSE(mirrored.empty());
    EXPECT_EQ(paired, std::set<std::string>(mirrored.begin(), mirrored.end()));
    EXPECT_EQ(std::size(kTypes), mirrored.size());
}

}  // namespace
