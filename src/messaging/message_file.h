// The files that the device leaves of its traffic in test mode: one for each exchange, for people to read.
// Writing never fails anybody: what can't be written isn't there. No state; safe from any thread.
#pragma once

#include "contracts/calendar_time.h"
#include "contracts/wide_string.h"

namespace orrery {

// One line of a record: the key, which ends in its own separator, the value, CR LF.
void AppendLine(WideString& record, WideView key, WideView value = {});

// The path of a message's file in the folder of message files, which is made if it is missing. `localTime` is
// part of the name.
WideString MessageFilePath(const WideString& name, const CalendarTime& localTime);

// In the system's ANSI code page; as it is, 2 bytes a character, if that fails. A new file, or an existing
// one replaced; false if it can't be made.
bool WriteMessageFile(const WideString& path, const WideString& text);
// Only to a file that is there.
void AppendToMessageFile(const WideString& path, const WideString& text);

}  // namespace orrery
