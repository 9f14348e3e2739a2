#pragma once

#include "Platform/CoreGraphics/ImageError.hpp"
#include "Platform/Foundation/FileDescriptor.hpp"
#include "Platform/ImageIO/InputFile.hpp"

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <expected>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace platform {

/// A running `velmorant-codecs`, the helper for formats whose libraries are slow to load or seldom looked after. It
/// ends with this object at the latest. Whatever goes wrong with it is an error of the picture. One thread at a time.
class CodecsProcess {
public:
    /// `words` are its arguments. It can read `file`, where there is one, and nothing else. Fails with `unsupported`
    /// where there is no such program.
    [[nodiscard]] static std::expected<std::unique_ptr<CodecsProcess>, ImageError>
    start(const std::vector<std::string>& words, const InputFile* file);

    ~CodecsProcess();
    CodecsProcess(const CodecsProcess&) = delete;
    CodecsProcess& operator=(const CodecsProcess&) = delete;

    pid_t id() const { return process_; }

    /// Fills `into`. Waits as long as the helper is at work; one that neither says nor does anything for eight seconds
    /// counts as hanging. Its processor time has a limit of its own.
    [[nodiscard]] std::expected<void, ImageError> receive(std::span<std::byte> into);
    [[nodiscard]] std::expected<void, ImageError> send(std::span<const std::byte> bytes);

private:
    CodecsProcess(pid_t process, FileDescriptor socket) : process_(process), socket_(std::move(socket)) {}

    std::expected<void, ImageError> waitFor(short event);

    const pid_t process_;
    const FileDescriptor socket_;
    std::chrono::nanoseconds seenTime_{}; ///< of the processor, that it was seen to have taken
};

/// Where the helper lies: beside the program or library that this code is in, as a build or an install leaves it, else
/// where VELMORANT_CODECS says. `Device::Settings::codecs` goes before both.
std::optional<std::filesystem::path> codecsProgram();

} // namespace platform
