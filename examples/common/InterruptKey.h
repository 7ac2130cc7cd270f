#pragma once

#include <QObject>
#include <QTimer>

/// Turns Ctrl+C, and a polite request of the system to end, into a signal on the event loop. One per process.
class InterruptKey : public QObject
{
    Q_OBJECT

public:
    explicit InterruptKey(QObject* parent = nullptr);

    static bool wasPressed();

Q_SIGNALS:
    void pressed();

private:
    void poll();

    QTimer mTimer;
};
