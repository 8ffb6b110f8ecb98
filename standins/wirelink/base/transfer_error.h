// The error codes of failed transfers. No state; any thread.
#pragma once

#include <curl/curl.h>

#include <cstdint>

namespace orrery::wirelink {

// Never 0 for a failure (libcurl-errors(3) tells what each means).
uint32_t ErrorOfTransfer(CURLcode code);

}  // namespace orrery::wirelink
