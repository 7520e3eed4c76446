#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <utility>

namespace world {

/// Owns a file descriptor and closes it.
class FileDescriptor
{
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int fd)
        : m_fd(fd)
    {
    }
    ~FileDescriptor() { reset(); }
    FileDescriptor(FileDescriptor&& other) noexcept
        : m_fd(std::exchange(other.m_fd, -1))
    {
    }
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        if (this != &other) {
            reset();
            m_fd = std::exchange(other.m_fd, -1);
        }
        return *this;
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    [[nodiscard]] int get() const { return m_fd; }
    [[nodiscard]] bool isOpen() const { return m_fd >= 0; }
    void reset()
    {
        if (m_fd >= 0) {
            ::close(m_fd);
        }
        m_fd = -1;
    }

private:
    int m_fd = -1;
};

/// Both ends of a pipe, closed in programs that are executed.
struct Pipe
{
    FileDescriptor reading;
    FileDescriptor writing;

    /// A pipe whose ends are not open when the process has no descriptors left.
    /// @param flags more of pipe2(2): O_NONBLOCK.
    static Pipe create(int flags = 0);
};

} // namespace world
