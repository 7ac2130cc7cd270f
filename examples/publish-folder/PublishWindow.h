#pragma once

#include <tavrel/FTPSettingsSerializable.h>
#include <tavrel/FolderPublisher.h>

#include <QWidget>

class QLabel;
class QProgressBar;
class QPushButton;
class QTreeWidget;

/// Publishes a folder and shows the outcome of each file.
class PublishWindow : public QWidget
{
    Q_OBJECT

public:
    explicit PublishWindow(const FTPSettingsSerializable& settings);

    void publish(const QString& folder);

Q_SIGNALS:
    void finished();

private:
    void chooseFolder();
    void showProgress(const PublishProgress& progress);
    void addFile(const QString& path, FolderPublisher::Outcome outcome, const QString& reason);
    void conclude(bool success);

    FTPSettingsSerializable mSettings;
    QTreeWidget* mFiles;
    QProgressBar* mBar;
    QLabel* mStatus;
    QPushButton* mChoose;
    QPushButton* mStop;
    FolderPublisher mPublisher; ///< destroyed first: it waits for its threads
};
