#include "Terminal.h"

#include <array>
#include <cstdio>
#include <io.h>
#include <windows.h>

namespace {

constexpr int STDIN = 0;
constexpr int STDERR = 2;

/// Shows no typed characters for its lifetime.
class WithoutEcho
{
public:
    explicit WithoutEcho(HANDLE input)
        : mInput(input)
        , mIsChanged(GetConsoleMode(input, &mBefore) && SetConsoleMode(input, mBefore & ~DWORD { ENABLE_ECHO_INPUT }))
    {
    }
    ~WithoutEcho()
    {
        if (mIsChanged) {
            SetConsoleMode(mInput, mBefore);
            std::fputc('\n', stderr);
        }
    }
    Q_DISABLE_COPY(WithoutEcho)

private:
    HANDLE mInput;
    DWORD mBefore = 0;
    bool mIsChanged;
};

} // namespace

bool Terminal::isInteractive()
{
    return _isatty(STDIN) != 0 && _isatty(STDERR) != 0;
}

std::optional<QString> Terminal::askSecretly(const QString& prompt, const std::function<bool()>& isStopped)
{
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    const WithoutEcho withoutEcho(input);
    WriteConsoleW(GetStdHandle(STD_ERROR_HANDLE), prompt.utf16(), static_cast<DWORD>(prompt.size()), nullptr, nullptr);
    QString line;
    while (!line.endsWith(QLatin1Char('\n'))) {
        // Ctrl+C ends the wait with no characters.
        std::array<wchar_t, 256> some {};
        DWORD count = 0;
        if (!ReadConsoleW(input, some.data(), some.size(), &count, nullptr) || count == 0 || isStopped()) {
            return std::nullopt;
        }
        line += QString::fromWCharArray(some.data(), static_cast<int>(count));
    }
    line.chop(1);
    return line.endsWith(QLatin1Char('\r')) ? line.chopped(1) : line;
}

int Terminal::width()
{
    const HANDLE console = GetStdHandle(STD_ERROR_HANDLE);
    CONSOLE_SCREEN_BUFFER_INFO info {};
    DWORD mode = 0;
    const bool obeysSequences
        = GetConsoleMode(console, &mode) && SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
    return obeysSequences && GetConsoleScreenBufferInfo(console, &info) ? info.srWindow.Right - info.srWindow.Left + 1
                                                                        : 0;
}
