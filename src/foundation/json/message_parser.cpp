#include <string_view>

#include "foundation/json/document_text.h"
#include "foundation/json/library_tree.h"
#include "foundation/json/member_places.h"
#include "foundation/json/message_object.h"

namespace orrery {

namespace {

constexpr size_t maxDepth = 512;

// Whether an earlier item of the same key gives its place to a value of this type.
bool Replaces(json_type type, const WideString& key) {
    if (type == json_object) return false;
    return type != json_array || !key.empty();
}

bool Walk(const json_value& source, CMessageObject& target);

// Gives a Null item its value.
bool Fill(const json_value& source, CMessageItem& item) {
    switch (source.type) {
        case json_object:
        case json_array:
            item.value.object = new CMessageObject;
            item.value.object->name = item.name;
            item.kind = KindObject;
            return Walk(source, *item.value.object);
        case json_integer:
            item.value.integer = source.u.integer;
            item.kind = KindInteger;
            return true;
        case json_double:
            item.value.number = source.u.dbl;
            item.kind = KindDouble;
            return true;
        case json_string:
            item.kind = KindString;
            return Utf8ToWide({source.u.string.ptr, source.u.string.length}, item.text);
        case json_boolean:
            item.value.boolean = source.u.boolean != 0;
            item.kind = KindBoolean;
            return true;
        case json_null:
            return true;
        default:
            return false;
    }
}

bool WalkObject(const json_value& source, CMessageObject& target) {
    MemberPlaces places(target, source.u.object.length);
    for (unsigned int i = 0; i < source.u.object.length; ++i) {
        const json_object_entry& entry = source.u.object.values[i];
        WideString& key = target.items.emplace_back().name;
        if (!Utf8ToWide({entry.name, entry.name_length}, key)) return false;
        if (!Fill(*entry.value, places.Settle(Replaces(entry.value->type, key)))) return false;
    }
    return true;
}

bool WalkArray(const json_value& source, CMessageObject& target) {
    target.isArray = true;
    target.items.reserve(source.u.array.length);
    for (unsigned int i = 0; i < source.u.array.length; ++i) {
        if (!Fill(*source.u.array.values[i], target.items.emplace_back())) return false;
    }
    return true;
}

bool Walk(const json_value& source, CMessageObject& target) {
    if (source.type == json_object) return WalkObject(source, target);
    if (source.type == json_array) return WalkArray(source, target);
    return false;
}

}  // namespace

bool CMessageObject::Parse(const std::string& utf8) {
    if (HasEscapedSurrogate(utf8)) return ParseMended(WithoutEscapedPairs(utf8));
    return ParseMended(utf8);
}

bool CMessageObject::ParseMended(const std::string& utf8) {
    if (IsRefused(utf8, maxDepth)) return false;
    const LibraryTree tree(utf8);
    CMessageObject parsed;
    if (!tree.Root() || !Walk(*tree.Root(), parsed)) return false;
    *this = std::move(parsed);
    return true;
}

bool CMessageObject::Parse(WideView text) {
    std::string utf8;
    return WideToUtf8(text, utf8) && Parse(utf8);
}

}  // namespace orrery
