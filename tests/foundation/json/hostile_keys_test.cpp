// Keys chosen by someone who knows the hash of the standard library.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <functional>
#include <random>

#include "foundation/json/message_object.h"

namespace orrery {
namespace {

// The block of eight bytes that MurmurHash2 mixes to `mixed` before it takes it in.
uint64_t BlockOf(uint64_t mixed) {
    constexpr uint64_t inverse = 0x5F7A0EA7E59B19BD;  // of 0xC6A4A7935BD1E995, modulo 2^64
    const uint64_t half = inverse * mixed;
    return inverse * (half ^ half >> 47);
}

struct Pieces {
    WideString left, right;
};

// Two pieces that leave that hash in the same state, whatever its seed: both of their blocks differ in the
// topmost bit once mixed, and multiplication keeps such a difference as it is until the second cancels it.
Pieces CollidingPieces() {
    constexpr uint64_t topmost = uint64_t{1} << 63;
    std::mt19937_64 random;
    for (;;) {
        const uint64_t one = random(), two = random();
        const uint64_t blocks[] = {BlockOf(one), BlockOf(two), BlockOf(one ^ topmost),
                                   BlockOf(two ^ topmost)};
        WideString units(16, u'\0');
        std::memcpy(units.data(), blocks, sizeof(blocks));
        if (std::ranges::all_of(units, [](char16_t unit) { return unit >= 0x80 && unit < 0xD800; }))
            return {units.substr(0, 8), units.substr(8)};
    }
}

constexpr unsigned keyPieces = 13;

WideString Key(const Pieces& pieces, unsigned choices) {
    WideString key;
    for (unsigned i = 0; i < keyPieces; ++i) key += (choices >> i & 1) ? pieces.right : pieces.left;
    return key;
}

// Processor time for an object of all keys that can be made of the pieces.
std::clock_t ReadingTime(const Pieces& pieces) {
    CMessageObject object;
    for (unsigned i = 0; i < 1U << keyPieces; ++i) object.AddItem(CMessageItem(Key(pieces, i), true), false);
    object.AddItem(CMessageItem(Key(pieces, 7), false), false);  // a second one of its key
    std::string text;
    object.SerializeUtf8(text);
    const std::clock_t start = std::clock();
    EXPECT_TRUE(object.Parse(text));
    const std::clock_t taken = std::clock() - start;
    EXPECT_EQ(object.items.size(), 1U << keyPieces);
    EXPECT_FALSE(object.items[7].value.boolean) << "the first gave way";
    return taken;
}

TEST(HostileKeys, CostNoMoreThanOthers) {
    const Pieces hostile = CollidingPieces();
    const Pieces harmless{hostile.left, WideString(hostile.right.size(), u'\u3042')};
    const std::hash<WideString> known;
    ASSERT_EQ(known(Key(hostile, 0)), known(Key(hostile, 0xABC))) << "they collide there";
    EXPECT_LT(ReadingTime(hostile), 4 * ReadingTime(harmless));
}

}  // namespace
}  // namespace orrery
