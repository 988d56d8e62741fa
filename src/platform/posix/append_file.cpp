#include "platform/append_file.h"

#include <QFile>
#include <fcntl.h>
#include <unistd.h>

namespace korvex::platform {

namespace {

// The owner may write and the group (administrators) may read. Nobody else may, because the lines
// name accounts and addresses.
constexpr mode_t kMode = 0640;

} // namespace

bool openForAppending(QFile& file)
{
    const int descriptor = ::open(QFile::encodeName(file.fileName()).constData(),
                                  O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, kMode);
    if (descriptor < 0)
        return false;
    // Unbuffered: a text stays in one piece only when it is one write() call.
    if (file.open(descriptor, QIODevice::Append | QIODevice::Text | QIODevice::Unbuffered,
                  QFileDevice::AutoCloseHandle))
        return true;
    ::close(descriptor);
    return false;
}

bool appendText(QFile& file, const QByteArray& text)
{
    return file.write(text) == text.size();
}

} // namespace korvex::platform
