#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

#include "platform/posix/FileDescriptor.h"

namespace keldra {

/// A program that runs beside us and whose output we read. It gets none of the host's files: its
/// input and its complaints lead nowhere. Nothing waits, and no process is left behind as a zombie:
/// destroying this ends the program. One thread at a time.
class CChildProcess {
public:
    static constexpr int kUnknownExit = -1; ///< killed, or reaped by the host before we could ask
    static constexpr std::size_t kMaxOutput = 64 * 1024; ///< bytes; what exceeds it is dropped

    CChildProcess() = default;
    ~CChildProcess();
    CChildProcess(const CChildProcess&) = delete;
    CChildProcess& operator=(const CChildProcess&) = delete;

    /// Starts a program. Once in an object's life. @param arguments  its path first
    [[nodiscard]] bool Start(const std::vector<std::string>& arguments);

    /// Takes what it has written. @return true once it has ended
    [[nodiscard]] bool HasEnded();

    [[nodiscard]] int ExitCode() const { return exitCode_; } ///< once it has ended
    [[nodiscard]] const std::string& Output() const { return output_; }

private:
    void ReadOutput();

    CFileDescriptor pipe_;
    pid_t process_ = 0; ///< 0: none, or ended and reaped
    int exitCode_ = kUnknownExit;
    std::string output_;
};

/// The first program of this name in the folders of $PATH, empty for none.
[[nodiscard]] std::string FindProgram(const std::string& name);

} // namespace keldra
