#pragma once

#include <QElapsedTimer>
#include <QString>

/// Shows how far a transfer is: a bar that is drawn over itself on a terminal, a line per tenth elsewhere.
class ProgressLine
{
public:
    ProgressLine();

    /// The percentage is negative while the size is not known; bytes is what has arrived so far.
    void show(double percent, qint64 bytes);
    /// Ends the bar with a line break, if one was drawn.
    void finish();

private:
    void drawBar(double percent, const QString& details);
    void printLine(double percent, const QString& details);

    bool mTerminal;
    bool mDrawn = false;
    int mNextTenth = 0;
    qint64 mNextSilentMs = 0;
    QElapsedTimer mTime;
};
