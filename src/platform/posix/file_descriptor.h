#pragma once

#include <unistd.h>

namespace korvex::platform {

/// Owns a file descriptor; -1 stands for none.
class FileDescriptor
{
public:
    explicit FileDescriptor(int descriptor)
        : m_descriptor(descriptor)
    {}
    ~FileDescriptor()
    {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    bool isValid() const { return m_descriptor >= 0; }
    int get() const { return m_descriptor; }

private:
    int m_descriptor;
};

} // namespace korvex::platform
