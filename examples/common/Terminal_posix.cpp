#include "Terminal.h"

#include <QByteArray>

#include <cstdio>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace {

constexpr int POLL_MS = 50;
constexpr int USUAL_WIDTH = 80;

/// Shows no typed characters for its lifetime.
class WithoutEcho
{
public:
    WithoutEcho()
        : mIsChanged(tcgetattr(STDIN_FILENO, &mBefore) == 0)
    {
        termios silent = mBefore;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        mIsChanged = mIsChanged && tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent) == 0;
    }
    ~WithoutEcho()
    {
        if (mIsChanged) {
            tcsetattr(STDIN_FILENO, TCSANOW, &mBefore);
            std::fputc('\n', stderr);
        }
    }
    Q_DISABLE_COPY(WithoutEcho)

private:
    termios mBefore {};
    bool mIsChanged;
};

/// A part of a line; empty at the end of the input and when stopped.
QByteArray readSome(const std::function<bool()>& isStopped)
{
    pollfd input { STDIN_FILENO, POLLIN, 0 };
    while (!isStopped()) {
        if (poll(&input, 1, POLL_MS) > 0) {
            QByteArray bytes(256, 0);
            const ssize_t count = read(STDIN_FILENO, bytes.data(), static_cast<size_t>(bytes.size()));
            return bytes.left(static_cast<int>(qMax<ssize_t>(count, 0)));
        }
    }
    return QByteArray();
}

} // namespace

bool Terminal::isInteractive()
{
    return isatty(STDIN_FILENO) != 0 && isatty(STDERR_FILENO) != 0;
}

std::optional<QString> Terminal::askSecretly(const QString& prompt, const std::function<bool()>& isStopped)
{
    const WithoutEcho withoutEcho;
    std::fputs(qUtf8Printable(prompt), stderr);
    QByteArray line;
    while (!line.endsWith('\n')) {
        const QByteArray some = readSome(isStopped);
        if (some.isEmpty()) {
            return std::nullopt;
        }
        line += some;
    }
    return QString::fromUtf8(line.chopped(1));
}

int Terminal::width()
{
    winsize size {};
    if (isatty(STDERR_FILENO) == 0 || qgetenv("TERM") == "dumb") {
        return 0;
    }
    const bool isKnown = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0; // NOLINT
    return isKnown ? size.ws_col : USUAL_WIDTH;
}
