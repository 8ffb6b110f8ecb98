#include "messaging/message_file.h"

#include "foundation/system/install_paths.h"
#include "foundation/text/time_text.h"
#include "foundation/trace.h"
#include "platform/files.h"
#include "platform/text.h"

namespace orrery {

namespace {

std::string FileBytes(const WideString& text) {
    std::string bytes;
    if (WideToAnsi(text, bytes)) return bytes;
    Trace::Error("a message can't be converted and is written as it is");
    return std::string(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t));
}

}  // namespace

void AppendLine(WideString& record, WideView key, WideView value) {
    record.append(key).append(value).append(u"\r\n");
}

WideString MessageFilePath(const WideString& name, const CalendarTime& localTime) {
    WideString folder;
    GetMessagesFolder(folder);  // a folder that can't be made shows when the file can't be
    return folder + name + FileTimeText(localTime) + u".log";
}

bool WriteMessageFile(const WideString& path, const WideString& text) {
    const bool written = platform::WriteNewFile(path, FileBytes(text));
    if (!written) Trace::Error("a message file can't be written", path);
    return written;
}

void AppendToMessageFile(const WideString& path, const WideString& text) {
    if (!platform::AppendToFile(path, FileBytes(text))) Trace::Error("a message file is gone", path);
}

}  // namespace orrery
