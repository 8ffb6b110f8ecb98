#include "foundation/json/member_places.h"

#include <bit>
#include <random>
#include <utility>

namespace orrery {

namespace {

// Objects of up to this many members are scanned for a key.
constexpr size_t scanLimit = 16;

// Arithmetic modulo the prime 2^61 - 1.
constexpr int primeBits = 61;
constexpr uint64_t prime = (uint64_t{1} << primeBits) - 1;

uint64_t Reduced(uint64_t number) {
    return number >= prime ? number - prime : number;
}

uint64_t Product(uint64_t left, uint64_t right) {
    const auto product = static_cast<unsigned __int128>(left) * right;
    return Reduced((static_cast<uint64_t>(product) & prime) + static_cast<uint64_t>(product >> primeBits));
}

uint64_t DrawPoint() {
    std::random_device source;
    return std::uniform_int_distribution<uint64_t>(prime / 2, prime - 1)(source);
}

// The key's units as the coefficients of a polynomial, whose value is taken at a point that each process
// draws anew: who doesn't know it can't choose keys that collide. Seeding a hash such as the standard
// library's would not do, since there are keys that collide in it whatever its seed is. What follows spreads
// the value over all bits.
uint64_t HashOf(WideView key) {
    static const uint64_t point = DrawPoint();
    uint64_t value = key.size();
    for (const char16_t unit : key) value = Reduced(Product(value, point) + unit);
    value *= 0x9E3779B97F4A7C15;  // odd, of no pattern
    return value ^ value >> 32;
}

}  // namespace

MemberPlaces::MemberPlaces(CMessageObject& target, size_t count)
    : target(target), placeBits(static_cast<int>(std::bit_width(count))) {
    target.items.reserve(count);
    if (count > scanLimit) slots.resize(std::bit_ceil(count + count / 4));
}

CMessageItem& MemberPlaces::Settle(bool replace) {
    CMessageItem& fresh = target.items.back();
    CMessageItem* const earlier = slots.empty() ? ScanFor(fresh) : EarlierThan(fresh);
    if (!earlier || !replace) return fresh;
    *earlier = std::move(fresh);
    target.items.pop_back();
    return *earlier;
}

CMessageItem* MemberPlaces::ScanFor(const CMessageItem& fresh) {
    CMessageItem* at = target.items.data();
    while (at != &fresh && at->name != fresh.name) ++at;
    return at == &fresh ? nullptr : at;
}

CMessageItem* MemberPlaces::EarlierThan(const CMessageItem& fresh) {
    const uint64_t hash = HashOf(fresh.name);
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

}  // namespace orrery
