/* Compiled as C: the generated headers must be valid C, and the C layout of
 * their structs must be the one the C++ descriptors record. */
#include "c_layout.h"
#include "shapes.h"

#define SIZE(T) \
    { #T, NULL, sizeof(T) }
#define MEMBER(T, m) \
    { #T, #m, offsetof(T, m) }

const struct CLayoutEntry idlTest_cLayout[] = {SIZE(demo_ShapeType),
                                               MEMBER(demo_ShapeType, color),
                                               MEMBER(demo_ShapeType, x),
                                               MEMBER(demo_ShapeType, y),
                                               MEMBER(demo_ShapeType, shapesize),
                                               SIZE(demo_ShapeUpdate),
                                               MEMBER(demo_ShapeUpdate, color),
                                               MEMBER(demo_ShapeUpdate, id),
                                               MEMBER(demo_ShapeUpdate, kind),
                                               MEMBER(demo_ShapeUpdate, shape),
                                               MEMBER(demo_ShapeUpdate, path),
                                               MEMBER(demo_ShapeUpdate, labels),
                                               MEMBER(demo_ShapeUpdate, notes),
                                               MEMBER(demo_ShapeUpdate, history),
                                               MEMBER(demo_ShapeUpdate, weights),
                                               MEMBER(demo_ShapeUpdate, digest),
                                               MEMBER(demo_ShapeUpdate, tags),
                                               MEMBER(demo_ShapeUpdate, visible),
                                               MEMBER(demo_ShapeUpdate, initial),
                                               MEMBER(demo_ShapeUpdate, s),
                                               MEMBER(demo_ShapeUpdate, us),
                                               MEMBER(demo_ShapeUpdate, ll),
                                               MEMBER(demo_ShapeUpdate, ull),
                                               MEMBER(demo_ShapeUpdate, f),
                                               MEMBER(demo_ShapeUpdate, comment),
                                               MEMBER(demo_ShapeUpdate, counts),
                                               SIZE(demo_Extent),
                                               MEMBER(demo_Extent, width),
                                               MEMBER(demo_Extent, height),
                                               SIZE(demo_view_Frame),
                                               MEMBER(demo_view_Frame, extent),
                                               MEMBER(demo_view_Frame, main),
                                               MEMBER(demo_view_Frame, origin),
                                               MEMBER(demo_view_Frame, title),
                                               SIZE(geometry_Point),
                                               MEMBER(geometry_Point, x),
                                               MEMBER(geometry_Point, y),
                                               {NULL, NULL, 0}};

/* The zero initializers are valid C, whatever the first member's type (a
 * string here, a struct in a frame). */
const demo_ShapeUpdate idlTest_zeroUpdate = demo_ShapeUpdate_INITIALIZER;
const demo_view_Frame idlTest_zeroFrame = demo_view_Frame_INITIALIZER;
