#pragma once

#include <QObject>
#include <QTimer>

/// Turns SIGINT (Ctrl+C), SIGTERM and SIGHUP (a closed terminal) into a Qt signal on the event loop. One per process.
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
