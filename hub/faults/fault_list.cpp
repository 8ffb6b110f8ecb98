#include "hub/faults/fault_list.h"

#include <algorithm>

namespace orrery::hub {

std::optional<Fault> FaultList::Take(const std::string& target) {
    const auto first = std::find_if(pending.begin(), pending.end(),
                                    [&](const Fault& fault) { return target.starts_with(fault.match); });
    if (first == pending.end()) return std::nullopt;
    Fault taken = *first;
    if (--first->count == 0) pending.erase(first);
    return taken;
}

}  // namespace orrery::hub
