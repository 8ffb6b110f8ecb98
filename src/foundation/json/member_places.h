// Finds the place of each member of one object while a document is read: its own at the end, or that of an
// earlier member of the same key. Small objects are scanned; a larger one gets an index, so that its cost
// stays linear, also where the sender chose the keys. Belongs to the thread that parses.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "foundation/json/message_object.h"

namespace orrery {

class MemberPlaces {
  public:
    // Up to `count` members will come. The target outlives this object, and only grows at its end meanwhile.
    MemberPlaces(CMessageObject& target, size_t count);

    // The place of the item that was put at the end, by its key. With `replace` it moves to where the first
    // of its key stood.
    CMessageItem& Settle(bool replace);

  private:
    // The first item of the same key; null if there is none. Then the new one is noted as such.
    CMessageItem* EarlierThan(const CMessageItem& fresh);
    CMessageItem* ScanFor(const CMessageItem& fresh);

    CMessageObject& target;
    const int placeBits;
    // An index of the first items, small enough for the caches: the lower bits of a slot are the item's place
    // from 1, those above are of its key's hash. 0 is free. Empty for a small object.
    std::vector<uint32_t> slots;
};

}  // namespace orrery
