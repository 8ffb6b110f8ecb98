// Keys that have one hash in the standard library, whatever seed it is given: what a sender would choose who
// wants to slow an index of keys down.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <stdexcept>
#include <string>

namespace bench {

class CollidingKeys {
  public:
    static constexpr unsigned pieces = 13;  // of each key
    static constexpr unsigned count = 1U << pieces;

    // Two pieces that leave the hash in the same state: both of their blocks differ in the topmost bit once
    // mixed, and multiplication keeps such a difference as it is until the second cancels it.
    CollidingKeys() {
        constexpr uint64_t topmost = uint64_t{1} << 63;
        std::mt19937_64 random;
        std::u16string units(16, u'\0');
        do {
            const uint64_t one = random(), two = random();
            const uint64_t blocks[] = {BlockOf(one), BlockOf(two), BlockOf(one ^ topmost),
                                       BlockOf(two ^ topmost)};
            std::memcpy(units.data(), blocks, sizeof(blocks));
        } while (!std::ranges::all_of(units, [](char16_t unit) { return unit >= 0x80 && unit < 0xD800; }));
        left = units.substr(0, 8);
        right = units.substr(8);
        const std::hash<std::u16string> known;
        if (known(Key(0)) != known(Key(count - 1))) throw std::logic_error("these keys don't collide");
    }

    std::u16string Key(unsigned number) const {
        std::u16string key;
        for (unsigned i = 0; i < pieces; ++i) key += (number >> i & 1) ? right : left;
        return key;
    }

  private:
    // The block of eight bytes that MurmurHash2 mixes to `mixed` before it takes it in.
    static uint64_t BlockOf(uint64_t mixed) {
        constexpr uint64_t inverse = 0x5F7A0EA7E59B19BD;  // of 0xC6A4A7935BD1E995, modulo 2^64
        const uint64_t half = inverse * mixed;
        return inverse * (half ^ half >> 47);
    }

    std::u16string left, right;
};

}  // namespace bench
