#include <cstring>
#include <memory>
#include <string_view>
#include <unordered_map>

#include <json-parser/json.h>

#include "foundation/message_object.h"

namespace orrery {

namespace {

constexpr size_t maxDepth = 512;

// Objects of up to this many members look for a key's first item by a scan; a larger one keeps an index while
// it is read, so that its cost stays linear.
constexpr size_t scanLimit = 16;

// Whether brackets nest deeper than `maxDepth`, told before the library builds a tree of them: a few
// megabytes of brackets would take hundreds of megabytes there.
bool NestsTooDeep(std::string_view text) {
    if (text.size() <= maxDepth) return false;
    size_t depth = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        switch (text[i]) {
            case '{':
            case '[':
                if (++depth > maxDepth) return true;
                break;
            case '}':
            case ']':
                if (depth > 0) --depth;
                break;
            case '"':
                for (++i; i < text.size() && text[i] != '"'; ++i) {
                    if (text[i] == '\\') ++i;
                }
                break;
            default:
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

// Adds the members of one object, each to the place that its key's earlier items leave it.
class MemberAdder {
  public:
    MemberAdder(CMessageObject& target, size_t count) : target(target), indexed(count > scanLimit) {
        target.items.reserve(count);
        if (indexed) firsts.reserve(count);
    }

    void Add(CMessageItem item, bool replace) {
        if (!indexed) {
            target.AddItem(std::move(item), replace);
            return;
        }
        const auto [first, isNew] = firsts.try_emplace(item.name, target.items.size());
        if (!isNew && replace) {
            target.items[first->second] = std::move(item);
            return;
        }
        target.AddItem(std::move(item), false);
    }

  private:
    CMessageObject& target;
    const bool indexed;
    std::unordered_map<WideString, size_t> firsts;
};

bool Walk(const json_value& source, CMessageObject& target);

bool WalkChild(const json_value& source, WideString key, CMessageItem& item) {
    CMessageObject child(std::move(key));
    if (!Walk(source, child)) return false;
    item = CMessageItem(std::move(child));
    return true;
}

// `replace` tells whether an earlier item of the same key gives way.
bool MakeItem(const json_value& source, WideString key, CMessageItem& item, bool& replace) {
    replace = true;
    switch (source.type) {
        case json_object:
            replace = false;
            return WalkChild(source, std::move(key), item);
        case json_array:
            replace = !key.empty();
            return WalkChild(source, std::move(key), item);
        case json_integer:
            item = CMessageItem::Signed(std::move(key), source.u.integer);
            return true;
        case json_double:
            item = CMessageItem::Double(std::move(key), source.u.dbl);
            return true;
        case json_string: {
            item = CMessageItem(std::move(key), WideString());
            return Utf8ToWide({source.u.string.ptr, source.u.string.length}, item.text);
        }
        case json_boolean:
            item = CMessageItem(std::move(key), source.u.boolean != 0);
            return true;
        case json_null:
            item = CMessageItem(std::move(key));
            return true;
        default:
            return false;
    }
}

bool WalkObject(const json_value& source, CMessageObject& target) {
    MemberAdder adder(target, source.u.object.length);
    CMessageItem item{WideString()};
    for (unsigned int i = 0; i < source.u.object.length; ++i) {
        const json_object_entry& entry = source.u.object.values[i];
        WideString key;
        bool replace = false;
        if (!Utf8ToWide({entry.name, entry.name_length}, key)) return false;
        if (!MakeItem(*entry.value, std::move(key), item, replace)) return false;
        adder.Add(std::move(item), replace);
    }
    return true;
}

bool WalkArray(const json_value& source, CMessageObject& target) {
    target.isArray = true;
    target.items.reserve(source.u.array.length);
    CMessageItem item{WideString()};
    for (unsigned int i = 0; i < source.u.array.length; ++i) {
        bool replace = false;
        if (!MakeItem(*source.u.array.values[i], {}, item, replace)) return false;
        target.AddItem(std::move(item), false);
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
