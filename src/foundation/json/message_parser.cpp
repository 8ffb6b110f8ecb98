#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include <json-parser/json.h>

#include "foundation/json/message_object.h"

namespace orrery {

namespace {

constexpr ptrdiff_t maxDepth = 512;

// Objects of up to this many members look for a key's first item by a scan; a larger one keeps an index while
// it is read, so that its cost stays linear.
constexpr size_t scanLimit = 16;

// What the scan for depth stops at; everything else is passed over at a byte a step.
enum ByteClass : uint8_t { Other = 0, Opening, Closing, Quote };

constexpr std::array<ByteClass, 256> ClassTable() {
    std::array<ByteClass, 256> table{};
    table['{'] = table['['] = Opening;
    table['}'] = table[']'] = Closing;
    table['"'] = Quote;
    return table;
}

constexpr std::array<ByteClass, 256> byteClasses = ClassTable();

// Behind the string that begins in front of `at`.
const char* SkipString(const char* at, const char* end) {
    while (at != end && *at != '"') at += (*at == '\\' && end - at > 1) ? 2 : 1;
    return at == end ? end : at + 1;
}

// Whether brackets nest deeper than `maxDepth`, told before the library builds a tree of them: a few
// megabytes of brackets would take hundreds of megabytes there.
bool NestsTooDeep(std::string_view text) {
    const auto opens = [](char c) { return c == '{' || c == '['; };
    if (std::count_if(text.begin(), text.end(), opens) <= maxDepth) return false;
    ptrdiff_t depth = 0;
    const char* at = text.data();
    const char* const end = at + text.size();
    while (at != end) {
        switch (byteClasses[static_cast<unsigned char>(*at++)]) {
            case Opening:
                if (++depth > maxDepth) return true;
                break;
            case Closing:
                if (depth > 0) --depth;
                break;
            case Quote:
                at = SkipString(at, end);
                break;
            case Other:
                break;
        }
    }
    return false;
}

// The library's free needs an allocator, even where parsing did not.
void* Allocate(size_t size, int zero, void*) {
    return zero ? std::calloc(1, size) : std::malloc(size);
}

void Deallocate(void* memory, void*) {
    std::free(memory);
}

struct FreeValue {
    void operator()(json_value* value) const {
        json_settings settings{};
        settings.mem_alloc = Allocate;
        settings.mem_free = Deallocate;
        json_value_free_ex(&settings, value);
    }
};

// Finds the place of each member of one object: its own at the end, or that of an earlier one of the same
// key.
class MemberPlaces {
  public:
    MemberPlaces(CMessageObject& target, size_t count)
        : target(target), placeBits(static_cast<size_t>(std::bit_width(count))) {
        target.items.reserve(count);
        if (count > scanLimit) slots.resize(std::bit_ceil(count + count / 4));
    }

    // The place of the item that was put at the end, by its key.
    CMessageItem& Settle(bool replace) {
        CMessageItem& fresh = target.items.back();
        CMessageItem* const earlier = EarlierThan(fresh);
        if (!earlier || !replace) return fresh;
        *earlier = std::move(fresh);
        target.items.pop_back();
        return *earlier;
    }

  private:
    // The first item of the same key; null if there is none. Then the new one is noted as such.
    CMessageItem* EarlierThan(const CMessageItem& fresh) {
        if (slots.empty()) {
            CMessageItem* at = target.items.data();
            while (at != &fresh && at->name != fresh.name) ++at;
            return at == &fresh ? nullptr : at;
        }
        const size_t hash = std::hash<WideString>()(fresh.name);
        const auto mine = static_cast<uint32_t>((hash >> 32 << placeBits) | target.items.size());
        for (size_t at = hash;; ++at) {
            uint32_t& slot = slots[at & (slots.size() - 1)];
            if (slot == 0) {
                slot = mine;
                return nullptr;
            }
            if (uint64_t{slot ^ mine} >> placeBits != 0) continue;
            CMessageItem& item = target.items[(slot & ((uint64_t{1} << placeBits) - 1)) - 1];
            if (item.name == fresh.name) return &item;
        }
    }

    CMessageObject& target;
    const size_t placeBits;
    // An index of the first items, small enough for the caches: the lower bits of a slot are the item's place
    // from 1, those above are of its key's hash. 0 is free. Empty for a small object.
    std::vector<uint32_t> slots;
};

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
            item.value.object = new CMessageObject(item.name);
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
        WideString& key = target.items.emplace_back(WideString()).name;
        if (!Utf8ToWide({entry.name, entry.name_length}, key)) return false;
        if (!Fill(*entry.value, places.Settle(Replaces(entry.value->type, key)))) return false;
    }
    return true;
}

bool WalkArray(const json_value& source, CMessageObject& target) {
    target.isArray = true;
    target.items.reserve(source.u.array.length);
    for (unsigned int i = 0; i < source.u.array.length; ++i) {
        if (!Fill(*source.u.array.values[i], target.items.emplace_back(WideString()))) return false;
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
    if (NestsTooDeep(utf8)) return false;
    json_settings settings{};
    const std::unique_ptr<json_value, FreeValue> source(
        json_parse_ex(&settings, utf8.c_str(), utf8.size(), nullptr));
    if (!source) return false;
    CMessageObject root;
    if (!Walk(*source, root)) return false;
    *this = std::move(root);
    return true;
}

bool CMessageObject::Parse(WideView text) {
    std::string utf8;
    return WideToUtf8(text, utf8) && Parse(utf8);
}

}  // namespace orrery
