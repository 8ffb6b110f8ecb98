// The JSON model: a tree of CMessageObject and CMessageItem. Parsing goes through the json-parser library,
// whose tree is copied at once and freed; writing is the model's own.
//
// Keys and texts are UTF-16; order of insertion is order of writing. Lookup is a linear scan, exact and with
// regard to case. A getter that finds no member of its kind gives false and leaves its output alone. A tree
// is used by one thread at a time; independent trees may be used at once.
#pragma once

#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include "contracts/wide_string.h"
#include "platform/text.h"

namespace orrery {

enum MessageKind : uint32_t {
    KindNone = 0,  // not writable; a moved-from item
    KindInteger = 1,
    KindDouble = 2,
    KindBoolean = 3,
    KindString = 4,
    KindObject = 5,  // object or array; the item owns the child
    KindNull = 6,
};

class CMessageType {
  public:
    virtual ~CMessageType() = default;

    WideString name;  // the JSON key; empty for a document root and for members of an array
    uint32_t kind = KindNone;

  protected:
    explicit CMessageType(uint32_t kind = KindNone) : kind(kind) {}
    explicit CMessageType(WideString name, uint32_t kind = KindNone) : name(std::move(name)), kind(kind) {}
    CMessageType(const CMessageType&) = default;
    CMessageType(CMessageType&&) = default;
    CMessageType& operator=(const CMessageType&) = default;
    CMessageType& operator=(CMessageType&&) = default;
};

class ISerializableClass {
  public:
    virtual ~ISerializableClass() = default;
    // False if the tree holds what can't be written; `out` is then as each class says.
    virtual bool SerializeUtf8(std::string& out) const = 0;
    virtual bool Serialize(WideString& out) const = 0;
};

class CMessageObject;

// One member of an object or array.
class CMessageItem final : public CMessageType, public ISerializableClass {
  public:
    CMessageItem() : CMessageType(KindNull) {}
    explicit CMessageItem(WideString key);  // Null
    CMessageItem(WideString key, bool boolean);
    CMessageItem(WideString key, WideString text);
    CMessageItem(WideString key, const char16_t* text);
    CMessageItem(WideString key, uint64_t number);
    CMessageItem(WideString key, uint32_t number);
    explicit CMessageItem(const CMessageObject& child);  // key from the object, deep copy
    explicit CMessageItem(CMessageObject&& child);       // key from the object, taken over
    static CMessageItem Signed(WideString key, int64_t number);
    static CMessageItem Double(WideString key, double number);

    ~CMessageItem() override;
    CMessageItem(const CMessageItem& other);
    CMessageItem(CMessageItem&& other) noexcept;
    CMessageItem& operator=(const CMessageItem& other);
    CMessageItem& operator=(CMessageItem&& other) noexcept;

    // The child, if it is a plain object or an array; null otherwise. It stays the item's.
    const CMessageObject* AsObject() const;
    CMessageObject* AsObject();
    const CMessageObject* AsArray() const;
    CMessageObject* AsArray();

    // `out` is untouched on failure; true needs an output that isn't empty.
    bool SerializeUtf8(std::string& out) const override;
    bool Serialize(WideString& out) const override;

    WideString text;          // String
    bool isUnsigned = false;  // Integer: how the number is written
    union Value {
        int64_t integer;
        double number;
        bool boolean;
        CMessageObject* object;  // owned
    } value{};
};

class CMessageObject : public CMessageType, public ISerializableClass {
  public:
    CMessageObject() = default;
    explicit CMessageObject(WideString name);
    ~CMessageObject() override;
    CMessageObject(const CMessageObject& other);
    CMessageObject(CMessageObject&& other) noexcept;
    CMessageObject& operator=(const CMessageObject& other);
    CMessageObject& operator=(CMessageObject&& other) noexcept;

    // With `replace` the first item of the same key gives its place to the new one; an array only appends.
    CMessageItem& AddItem(CMessageItem item, bool replace);
    void AddString(WideString key, WideString text);
    void AddBool(WideString key, bool boolean);
    void AddInt32(WideString key, int32_t number);
    void AddInt64(WideString key, int64_t number);
    void AddUInt32(WideString key, uint32_t number);
    void AddUInt64(WideString key, uint64_t number);
    template <class Enumeration>
    requires(std::is_enum_v<Enumeration> && sizeof(Enumeration) == 4) void AddEnum(WideString key,
                                                                                   Enumeration number) {
        AddSignExtended(std::move(key), static_cast<int32_t>(number));
    }
    void AddDouble(WideString key, double number);
    // The new child, valid while this object lives and the item is neither replaced nor removed.
    CMessageObject* AddObject(WideString key, bool replace);
    CMessageObject* AddArray(WideString key);
    void AddObjectCopy(const CMessageObject& object);  // key from the object

    bool Find(WideView key, const CMessageItem*& item) const;
    bool GetString(WideView key, WideString& out) const;
    bool GetBool(WideView key, bool& out) const;
    bool GetInt(WideView key, int32_t& out) const;  // the lower 32 bits
    bool GetObject(WideView key, const CMessageObject*& out) const;
    bool GetArray(WideView key, const CMessageObject*& out) const;

    bool Remove(WideView key);  // the first item of that key
    void Clear();               // items and name; `isArray` stays
    // The name of the object, else the key of its first member that is an object or array.
    bool GetMessageName(WideString& out) const;

    // A document: object or array, nested at most 512 deep, no comma before a closing bracket. On failure
    // nothing changes.
    bool Parse(const std::string& utf8);
    bool Parse(WideView text);

    // `out` is emptied on failure. An object with a name writes `"name":{...}`, without enclosing braces.
    bool SerializeUtf8(std::string& out) const override;
    bool Serialize(WideString& out) const override;

    // Whether Serialize would succeed.
    bool IsWritable() const;

    std::vector<CMessageItem> items;
    bool isArray = false;

  private:
    void AddSignExtended(WideString key, int32_t number);
    bool ParseMended(const std::string& utf8);
};

}  // namespace orrery
