#include "foundation/json/message_object.h"

#include <algorithm>
#include <utility>

namespace orrery {

namespace {

template <class Items>
auto FindKey(Items& items, WideView key) {
    return std::find_if(items.begin(), items.end(),
                        [key](const CMessageItem& item) { return item.name == key; });
}

}  // namespace

CMessageObject::CMessageObject(WideString name) : CMessageType(std::move(name)) {}

CMessageObject::~CMessageObject() = default;

CMessageObject::CMessageObject(const CMessageObject& other) = default;

CMessageObject::CMessageObject(CMessageObject&& other) noexcept
    : CMessageType(std::move(other)), items(std::move(other.items)), isArray(other.isArray) {
    other.name.clear();
    other.items.clear();
}

CMessageObject& CMessageObject::operator=(const CMessageObject& other) {
    if (this != &other) *this = CMessageObject(other);
    return *this;
}

// The source may be a descendant of this object: its content is taken out before the old content goes.
CMessageObject& CMessageObject::operator=(CMessageObject&& other) noexcept {
    if (this == &other) return *this;
    WideString takenName = std::exchange(other.name, {});
    std::vector<CMessageItem> takenItems = std::exchange(other.items, {});
    isArray = other.isArray;
    name = std::move(takenName);
    items = std::move(takenItems);
    return *this;
}

CMessageItem& CMessageObject::AddItem(CMessageItem item, bool replace) {
    if (!isArray && replace) {
        const auto found = FindKey(items, item.name);
        if (found != items.end()) return *found = std::move(item);
    }
    return items.emplace_back(std::move(item));
}

void CMessageObject::AddString(WideString key, WideString text) {
    AddItem(CMessageItem(std::move(key), std::move(text)), true);
}

void CMessageObject::AddBool(WideString key, bool boolean) {
    AddItem(CMessageItem(std::move(key), boolean), true);
}

void CMessageObject::AddInt32(WideString key, int32_t number) {
    AddInt64(std::move(key), number);
}

void CMessageObject::AddInt64(WideString key, int64_t number) {
    AddItem(CMessageItem::Signed(std::move(key), number), true);
}

void CMessageObject::AddUInt32(WideString key, uint32_t number) {
    AddItem(CMessageItem(std::move(key), number), true);
}

void CMessageObject::AddUInt64(WideString key, uint64_t number) {
    AddItem(CMessageItem(std::move(key), number), true);
}

void CMessageObject::AddSignExtended(WideString key, int32_t number) {
    AddUInt64(std::move(key), static_cast<uint64_t>(static_cast<int64_t>(number)));
}

void CMessageObject::AddDouble(WideString key, double number) {
    AddItem(CMessageItem::Double(std::move(key), number), true);
}

CMessageObject* CMessageObject::AddObject(WideString key, bool replace) {
    return AddItem(CMessageItem(CMessageObject(std::move(key))), replace).value.object;
}

CMessageObject* CMessageObject::AddArray(WideString key) {
    const bool replace = !key.empty();
    CMessageObject* child = AddObject(std::move(key), replace);
    child->isArray = true;
    return child;
}

void CMessageObject::AddObjectCopy(const CMessageObject& object) {
    AddItem(CMessageItem(object), true);
}

bool CMessageObject::Find(WideView key, const CMessageItem*& item) const {
    const auto found = FindKey(items, key);
    if (found == items.end()) return false;
    item = &*found;
    return true;
}

bool CMessageObject::GetString(WideView key, WideString& out) const {
    const CMessageItem* item = nullptr;
    if (!Find(key, item) || item->kind != KindString) return false;
    out = item->text;
    return true;
}

bool CMessageObject::GetBool(WideView key, bool& out) const {
    const CMessageItem* item = nullptr;
    if (!Find(key, item) || item->kind != KindBoolean) return false;
    out = item->value.boolean;
    return true;
}

bool CMessageObject::GetInt(WideView key, int32_t& out) const {
    const CMessageItem* item = nullptr;
    if (!Find(key, item) || item->kind != KindInteger) return false;
    out = static_cast<int32_t>(item->value.integer);
    return true;
}

bool CMessageObject::GetObject(WideView key, const CMessageObject*& out) const {
    const CMessageItem* item = nullptr;
    const CMessageObject* const object = Find(key, item) ? item->AsObject() : nullptr;
    if (object) out = object;
    return object != nullptr;
}

bool CMessageObject::GetArray(WideView key, const CMessageObject*& out) const {
    const CMessageItem* item = nullptr;
    const CMessageObject* const array = Find(key, item) ? item->AsArray() : nullptr;
    if (array) out = array;
    return array != nullptr;
}

bool CMessageObject::Remove(WideView key) {
    const auto found = FindKey(items, key);
    if (found == items.end()) return false;
    items.erase(found);
    return true;
}

void CMessageObject::Clear() {
    items.clear();
    name.clear();
}

bool CMessageObject::GetMessageName(WideString& out) const {
    out = name;
    if (!out.empty()) return true;
    const auto found = std::find_if(items.begin(), items.end(),
                                    [](const CMessageItem& item) { return item.kind == KindObject; });
    if (found == items.end()) return false;
    out = found->name;
    return true;
}

}  // namespace orrery
