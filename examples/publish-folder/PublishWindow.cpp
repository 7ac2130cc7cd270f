#include "PublishWindow.h"

#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QMetaEnum>
#include <QProgressBar>
#include <QPushButton>
#include <QTreeWidget>

namespace {

constexpr int PER_MILLE = 1000;
constexpr int WIDTH = 460;
constexpr int HEIGHT = 300;
constexpr int PATH_WIDTH = 300;

} // namespace

PublishWindow::PublishWindow(const FTPSettingsSerializable& settings)
    : mSettings(settings)
    , mFiles(new QTreeWidget)
    , mBar(new QProgressBar)
    , mStatus(new QLabel(settings.friendlyLabel()))
    , mChoose(new QPushButton(QStringLiteral("&Publish a folder…")))
    , mStop(new QPushButton(QStringLiteral("&Stop")))
{
    auto* const buttons = new QHBoxLayout;
    buttons->addWidget(mStatus, 1);
    buttons->addWidget(mChoose);
    buttons->addWidget(mStop);
    auto* const column = new QVBoxLayout(this);
    column->addWidget(mFiles);
    column->addWidget(mBar);
    column->addLayout(buttons);
    mFiles->setHeaderLabels({ QStringLiteral("File"), QStringLiteral("Outcome") });
    mFiles->setColumnWidth(0, PATH_WIDTH);
    mFiles->setRootIsDecorated(false);
    mBar->setMaximum(PER_MILLE);
    mStatus->setTextFormat(Qt::PlainText); // The server has a say in it.
    mStop->setEnabled(false);
    resize(WIDTH, HEIGHT);
    setWindowTitle(QStringLiteral("Publish a folder"));
    connect(mChoose, &QPushButton::clicked, this, &PublishWindow::chooseFolder);
    connect(mStop, &QPushButton::clicked, &mPublisher, [this] { mPublisher.requestInterruption(); });
    connect(&mPublisher, &FolderPublisher::progress, this, &PublishWindow::showProgress);
    connect(&mPublisher, &FolderPublisher::fileFinished, this, &PublishWindow::addFile);
    connect(&mPublisher, &FolderPublisher::done, this, &PublishWindow::conclude);
}

void PublishWindow::chooseFolder()
{
    const QString folder = QFileDialog::getExistingDirectory(this);
    if (!folder.isEmpty()) {
        publish(folder);
    }
}

void PublishWindow::publish(const QString& folder)
{
    mFiles->clear();
    mBar->setValue(0);
    const bool isStarted = mPublisher.publish(mSettings, folder);
    mChoose->setEnabled(!isStarted);
    mStop->setEnabled(isStarted);
}

void PublishWindow::showProgress(const PublishProgress& progress)
{
    const qint64 total = qMax<qint64>(progress.totalBytes, 1);
    mBar->setValue(static_cast<int>(progress.bytes * PER_MILLE / total));
    mStatus->setText(QStringLiteral("%1 of %2 files").arg(progress.files).arg(progress.totalFiles));
}

void PublishWindow::addFile(const QString& path, FolderPublisher::Outcome outcome, const QString& reason)
{
    const auto names = QMetaEnum::fromType<FolderPublisher::Outcome>();
    const QString name = QString::fromLatin1(names.valueToKey(outcome));
    new QTreeWidgetItem(mFiles, { path, reason.isEmpty() ? name : reason });
}

void PublishWindow::conclude(bool success)
{
    const PublishReport report = mPublisher.report();
    const QString stopped = report.wasInterrupted ? QStringLiteral("Stopped") : report.stopReason;
    const QString counts = QStringLiteral("%1 sent, %2 unchanged, %3 failed, %4 not tried")
                               .arg(report.sent.size())
                               .arg(report.unchanged.size())
                               .arg(report.failed.size())
                               .arg(report.notTried.size());
    mBar->setValue(success ? PER_MILLE : mBar->value());
    mStatus->setText(stopped.isEmpty() ? counts : stopped + QStringLiteral(": ") + counts);
    mChoose->setEnabled(true);
    mStop->setEnabled(false);
    Q_EMIT finished();
}
