#include <utility>

#include "foundation/json/message_object.h"

namespace orrery {

CMessageItem::CMessageItem(WideString key) : CMessageType(std::move(key), KindNull) {}

CMessageItem::CMessageItem(WideString key, bool boolean) : CMessageType(std::move(key), KindBoolean) {
    value.boolean = boolean;
}

CMessageItem::CMessageItem(WideString key, WideString text)
    : CMessageType(std::move(key), KindString), text(std::move(text)) {}

CMessageItem::CMessageItem(WideString key, const char16_t* text)
    : CMessageItem(std::move(key), WideString(text)) {}

CMessageItem::CMessageItem(WideString key, uint64_t number)
    : CMessageType(std::move(key), KindInteger), isUnsigned(true) {
    value.integer = static_cast<int64_t>(number);
}

CMessageItem::CMessageItem(WideString key, uint32_t number)
    : CMessageItem(std::move(key), static_cast<uint64_t>(number)) {}

CMessageItem::CMessageItem(const CMessageObject& child) : CMessageItem(CMessageObject(child)) {}

CMessageItem::CMessageItem(CMessageObject&& child) : CMessageType(child.name, KindObject) {
    value.object = new CMessageObject(std::move(child));
}

CMessageItem CMessageItem::Signed(WideString key, int64_t number) {
    CMessageItem item(std::move(key), static_cast<uint64_t>(number));
    item.isUnsigned = false;
    return item;
}

CMessageItem CMessageItem::Double(WideString key, double number) {
    CMessageItem item(std::move(key));
    item.kind = KindDouble;
    item.value.number = number;
    return item;
}

CMessageItem::~CMessageItem() {
    if (kind == KindObject) delete value.object;
}

CMessageItem::CMessageItem(const CMessageItem& other)
    : CMessageType(other), text(other.text), isUnsigned(other.isUnsigned), value(other.value) {
    if (kind == KindObject) value.object = new CMessageObject(*other.value.object);
}

CMessageItem::CMessageItem(CMessageItem&& other) noexcept
    : CMessageType(std::move(other)),
      text(std::move(other.text)),
      isUnsigned(other.isUnsigned),
      value(std::exchange(other.value, Value{})) {
    other.kind = KindNone;
    other.name.clear();
}

CMessageItem& CMessageItem::operator=(const CMessageItem& other) {
    if (this != &other) *this = CMessageItem(other);
    return *this;
}

// The source may lie within this item's own child: its content is taken out before the child goes.
CMessageItem& CMessageItem::operator=(CMessageItem&& other) noexcept {
    if (this == &other) return *this;
    CMessageItem taken(std::move(other));
    if (kind == KindObject) delete value.object;
    CMessageType::operator=(std::move(taken));
    text = std::move(taken.text);
    isUnsigned = taken.isUnsigned;
    value = taken.value;
    taken.kind = KindNone;
    return *this;
}

const CMessageObject* CMessageItem::AsObject() const {
    return kind == KindObject && !value.object->isArray ? value.object : nullptr;
}

CMessageObject* CMessageItem::AsObject() {
    return kind == KindObject && !value.object->isArray ? value.object : nullptr;
}

const CMessageObject* CMessageItem::AsArray() const {
    return kind == KindObject && value.object->isArray ? value.object : nullptr;
}

CMessageObject* CMessageItem::AsArray() {
    return kind == KindObject && value.object->isArray ? value.object : nullptr;
}

}  // namespace orrery
