#include "tracebox.h"

#include <fcntl.h>
#include <spdlog/logger.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <filesystem>
#include <span>

#include "log_line.h"

namespace orrery::tracebox {
namespace {

// The file is private from its first moment; spdlog would make it as the umask lets it.
void CreatePrivateFile(const std::string& file) {
    const int descriptor = open(file.c_str(), O_CREAT | O_WRONLY | O_APPEND | O_CLOEXEC, 0600);
    if (descriptor >= 0) close(descriptor);
}

void SecureOpenedFile(const std::string&, std::FILE* stream) {
    const int descriptor = fileno(stream);
    fchmod(descriptor, 0600);
    fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}

spdlog::sink_ptr OpenFile(const std::string& file) {
    if (file.empty()) return nullptr;
    std::error_code ignored;
    std::filesystem::create_directories(std::filesystem::path(file).parent_path(), ignored);
    spdlog::file_event_handlers handlers;
    handlers.before_open = CreatePrivateFile;
    handlers.after_open = SecureOpenedFile;
    try {
        return std::make_shared<spdlog::sinks::rotating_file_sink_mt>(file, maxFileSize, rotatedFiles, false,
                                                                      handlers);
    } catch (const spdlog::spdlog_ex&) {
        return nullptr;
    }
}

spdlog::level::level_enum SpdlogLevel(int32_t level) {
    if (level >= LogError) return spdlog::level::err;
    if (level >= LogWarning) return spdlog::level::warn;
    return spdlog::level::info;
}

}  // namespace

Tracebox::Tracebox(const std::string& file, bool console)
    : logger(std::make_unique<spdlog::logger>("agent")) {
    if (auto sink = OpenFile(file)) logger->sinks().push_back(std::move(sink));
    if (console) logger->sinks().push_back(std::make_shared<spdlog::sinks::stderr_sink_mt>());
    logger->set_pattern("%Y-%m-%d %H:%M:%S.%e%z [%t] [%l] %v");
    logger->flush_on(spdlog::level::info);
}

Tracebox::~Tracebox() = default;

void Tracebox::LogArguments(int32_t level, const char* format, const LogArgument* arguments, size_t count) {
    try {
        // As an argument of spdlog's own format, so that braces in the line mean nothing to it.
        logger->log(SpdlogLevel(level), "{}", FormatLine(format, std::span(arguments, count)));
    } catch (const std::exception&) {
        // Out of memory. A lost line must not become the caller's failure.
    }
}

}  // namespace orrery::tracebox
