#pragma once

#include <QTime>

#include <chrono>

/// Tells when the next progress of an upload is due: 70 ms after the last one. libcurl asks thousands of times a
/// second, and for the time of day the system looks at the file of the time zone, so the steady clock answers.
class ProgressThrottle
{
public:
    /// The time of day as it has gone on since this object was made.
    QTime now() const;
    /// last is the time of day of the last progress.
    void start(const QTime& last);
    bool isDue(const QTime& last) const;

private:
    int elapsedSince(const QTime& start) const;

    QTime mTimeOfBegin = QTime::currentTime();
    std::chrono::steady_clock::time_point mBegin = std::chrono::steady_clock::now();
    QTime mLast;
    std::chrono::steady_clock::time_point mNext; ///< for the time in mLast
};
