#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QString>

/// Shows how far a transfer is: a bar that is drawn over itself on a terminal, a line per tenth elsewhere.
class ProgressLine
{
public:
    ProgressLine();

    /// The percentage is negative while the size is not known; bytes is what has arrived so far.
    void show(double percent, qint64 bytes);
    /// Prints a line to the standard output, above the bar on a terminal.
    void print(const QString& line);
    /// Ends the bar with a line break, if one was drawn.
    void finish();

    /// A text without what a terminal would obey: names that a server tells may hold anything.
    static QString printable(const QString& text);

private:
    void drawBar(double percent, const QString& details);
    void printLine(double percent, const QString& details);

    bool mTerminal;
    QByteArray mBar; ///< what stands on the terminal's last line
    int mNextTenth = 0;
    qint64 mNextSilentMs = 0;
    QElapsedTimer mTime;
};
