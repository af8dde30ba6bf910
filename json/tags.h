#pragma once

#include <foundation/debug/tracked.h>

namespace vorn::foundation::json::tags {

// Every tag that the library reports, except that of dispose(), which stands in
// <foundation/lang/disposable.h>. The numbers look like lines, but are fixed
// identifiers: leak reports of different builds can be compared.

using debug::Tag;

// The parser.
inline constexpr Tag kCompile{"../json/json", 69, "Compile"};
inline constexpr Tag kParseObject{"../json/json", 208, "ParseObject"};
inline constexpr Tag kParseArray{"../json/json", 235, "ParseArray"};
inline constexpr Tag kParseString{"../json/json", 259, "ParseString"};
inline constexpr Tag kParseFalse{"../json/json", 265, "ParseBool"};
inline constexpr Tag kParseTrue{"../json/json", 270, "ParseBool"};
inline constexpr Tag kParseNull{"../json/json", 278, "ParseNullOrNan"};
inline constexpr Tag kParseNan{"../json/json", 283, "ParseNullOrNan"};
inline constexpr Tag kParseInf{"../json/json", 293, "ParseNumber"};
inline constexpr Tag kParseMinusInf{"../json/json", 300, "ParseNumber"};
inline constexpr Tag kParseNumber{"../json/json", 309, "ParseNumber"};
inline constexpr Tag kRefuseNumber{"../json/json", 315, "ParseNumber"};

// The value model.
inline constexpr Tag kCloneNull{"../json/json", 326, "clone"};
inline constexpr Tag kCloneBool{"../json/json", 350, "clone"};
inline constexpr Tag kCloneNumber{"../json/json", 399, "clone"};
inline constexpr Tag kCloneString{"../json/json", 491, "clone"};
inline constexpr Tag kCloneArray{"../json/json", 525, "clone"};
inline constexpr Tag kCloneObject{"../json/json", 636, "clone"};

// The archivers.
inline constexpr Tag kCreateGeneric{"../json/archive/archiverutils", 13,
                                    "Create"};
inline constexpr Tag kCreateArray{"../json/archive/archiverutils", 16,
                                  "Create"};
inline constexpr Tag kCreateObject{"../json/archive/archiverutils", 18,
                                   "Create"};
inline constexpr Tag kFromJsonObject{"../json/archive/archiverutils", 23,
                                     "FromJson"};
inline constexpr Tag kFromJsonArray{"../json/archive/archiverutils", 26,
                                    "FromJson"};
inline constexpr Tag kFromJsonGeneric{"../json/archive/archiverutils", 28,
                                      "FromJson"};
inline constexpr Tag kDestroy{"../json/archive/archiverutils", 33, "Destroy"};
inline constexpr Tag kSnapshotArray{"../json/archive/arrayarchiver", 33,
                                    "snapshot"};
inline constexpr Tag kGenericArchiver{"../json/archive/genericarchiver", 8,
                                      "GenericArchiver"};
inline constexpr Tag kWriteString{"../json/archive/genericarchiver", 44,
                                  "writeString"};
inline constexpr Tag kJsonArchiver{"../json/archive/jsonarchiver", 160,
                                   "JsonArchiver"};
inline constexpr Tag kJsonArchiverDestructor{"../json/archive/jsonarchiver",
                                             167, "~JsonArchiver"};
inline constexpr Tag kSnapshotObject{"../json/archive/objectarchiver", 34,
                                     "snapshot"};

}  // namespace vorn::foundation::json::tags
