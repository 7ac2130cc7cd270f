#pragma once

#include "ProgressBar.h"

#include <QElapsedTimer>
#include <QJsonObject>
#include <QString>

class Options;

/**
 * Prints events: as lines of JSON on the standard output, or for people, with files and lists on the standard output
 * and all else on the standard error.
 */
class Output
{
public:
    enum ExitStatus { Done = 0, Failed = 1, WrongUsage = 2, Interrupted = 130 };

    explicit Output(const Options& options);

    void print(const QJsonObject& event);
    /// Prints the summary, after which nothing is printed.
    ExitStatus conclude(QJsonObject summary);

    /// Prints a failure before a run.
    static ExitStatus complain(ExitStatus status, const QString& text);

private:
    void printText(const QString& kind, const QJsonObject& event) const;
    void printFile(const QJsonObject& file) const;
    void printEntry(const QJsonObject& entry) const;
    static void printStep(const QJsonObject& step);
    static void printLine(const QString& line);

    bool mIsJson;
    bool mIsQuiet;
    bool mIsDryRun;
    bool mIsDetailed;
    bool mIsDoctor;
    ProgressBar mBar;
    QElapsedTimer mTime;
};
