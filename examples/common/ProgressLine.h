#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QString>

/// Shows the progress of a transfer: a bar on a terminal, a line per 10 percent elsewhere.
class ProgressLine
{
public:
    ProgressLine();

    /// percent is negative while the size is unknown; bytes is the number transferred so far.
    void show(double percent, qint64 bytes);
    /// Prints a line to the standard output, above the bar on a terminal.
    void print(const QString& line);
    /// Ends the bar with a line break, if one was drawn.
    void finish();

    /// Removes control sequences of terminals: names from a server may contain anything.
    static QString printable(const QString& text);

private:
    void drawBar(double percent, const QString& details);
    void printLine(double percent, const QString& details);

    bool mTerminal;
    QByteArray mBar; ///< the last line of the terminal
    int mNextTenth = 0;
    qint64 mNextSilentMs = 0;
    QElapsedTimer mTime;
};
