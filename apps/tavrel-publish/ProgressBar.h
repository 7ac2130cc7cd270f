#pragma once

#include <QByteArray>
#include <QElapsedTimer>

class QJsonObject;

/// Shows the progress on the standard error: a bar on a terminal, a line every few seconds elsewhere.
class ProgressBar
{
public:
    ProgressBar() { mTime.start(); }

    void show(const QJsonObject& progress);
    /// Removes the bar from the terminal until redraw().
    void hide() const;
    void redraw() const;
    /// Ends the bar with a line break, if one was drawn.
    void finish();

private:
    QByteArray mBar;
    QElapsedTimer mTime;
    qint64 mNextLine = 0;
};
