#pragma once

#include <tavrel/FTPCurl.h>
#include <tavrel/PublishProgress.h>
#include <tavrel/PublishReport.h>
#include <tavrel/tavrel_export.h>

#include <foundation/Thread.h>

#include <QFuture>
#include <QScopedPointer>
#include <QString>
#include <QStringList>

#include <memory>

class FTPSettings;
class FutureResult;
class PeerTrust;

/**
 * Publishes a local folder with its sub-folders to the folder of an FTPSettings, on threads of its own.
 *
 * Files are sent over several sessions side by side. Each one counts as sent only when its size on the server agrees. A
 * file named ".tavrel-site" in the folder on the server records size and SHA-256 of what was sent; the next run sends
 * only what differs from it. A file that is about to be sent or removed is taken out of the record before, so that a
 * run that ends at any moment, for any reason, makes a later one send every possibly incomplete file again.
 * Visitors of the site can read the record. Uploads under a temporary name that earlier runs have left next to a file
 * that is sent, named "FILE.0123abcd.part", are removed.
 *
 * Local symbolic links to files are followed, those to folders are left out with a remark, and so are entries that are
 * neither. Names must be valid UTF-8 without control characters; other ones, unreadable files and files that change
 * while they are sent are failures. Uploads write through symbolic links on the server, and setCheckServer() reads
 * through those to directories; nothing is removed through one that the listing of its directory shows.
 *
 * A lost connection is made again, up to three times for one file; a server that allows fewer sessions gets fewer. A
 * refused login, an unknown host, a full disk or a record that cannot be read end the run at once, and the other files
 * are not tried.
 *
 * requestInterruption() ends a run within 0.3 s with done(false). So does the destructor, which waits for the threads.
 *
 * Threads: settings are made on one thread and concern the next publish(). publish(), publishAsync(),
 * isPublishing(), requestInterruption() and report() may be called from any thread. All signals are emitted on the
 * publisher's own thread; connections to objects of other threads are queued. A slot that runs on that thread cannot
 * start a run, not even at done(), and must not destroy the publisher.
 */
class TAVREL_EXPORT FolderPublisher : public Thread
{
    Q_OBJECT

public:
    /// The outcome of one file.
    enum Outcome { Sent, Unchanged, Removed, Failed };
    Q_ENUM(Outcome)

    /// The upper bound of setConnections().
    static constexpr int MAX_CONNECTIONS = 8;

    /// Does not start anything; see publish().
    explicit FolderPublisher(QObject* parent = nullptr);
    ~FolderPublisher() override;

    /// Starts to publish and returns at once. False, with a warning in the log, while a run has not emitted done(), and
    /// when the system has no further thread.
    bool publish(const FTPSettings& settings, const QString& folder);
    /// Starts to publish like publish(), and returns a future of the end of the run.
    ///
    /// The future finishes once, with the result of done() and just before that signal: in every case, also when this
    /// object is destroyed. When publish() would return false it is already finished with false. QFuture::cancel() has
    /// the effect of requestInterruption() on this run only; the future still finishes when the run has ended, and has
    /// a result. Pausing has no effect. The progress of the future is in files; see PublishProgress.
    ///
    /// The future may be used on any thread and outlives this object. Do not wait for it in a slot that runs on the
    /// publisher's thread.
    QFuture<bool> publishAsync(const FTPSettings& settings, const QString& folder);
    /// From publish() until done() is about to be emitted.
    bool isPublishing() const;
    /// The result of the last run; during a run, the result of the run before.
    PublishReport report() const;

    /// Sessions side by side, 1 to MAX_CONNECTIONS; 4 by default. False for other values, which change nothing.
    bool setConnections(int connections);
    int connections() const; ///< See setConnections().
    /// Whether files that the record on the server holds with the same size and SHA-256 are left alone. On by default;
    /// otherwise all files are sent.
    void setOnlyChanged(bool onlyChanged);
    /// Whether the listings of the server are compared with the record, so that files that somebody has removed there,
    /// or replaced by ones of another size, are sent again. Off by default.
    void setCheckServer(bool check);
    /// Whether files that an earlier run has sent and that the folder no longer has are removed from the server, and
    /// then the directories that became empty. A file whose size differs from the record, and a link, were not sent
    /// by this class and stay; so does one whose path a file of the folder has in other letter case. Off by default.
    void setRemoveObsolete(bool remove);
    /// Whether to report only what would be sent and removed. Nothing is written to the server. Off by default.
    void setDryRun(bool dryRun);
    /// Whether files and folders whose name begins with "." are published. On by default.
    void setHiddenFiles(bool include);
    /// Globs of paths that are not published: "*" and "?" match within a name, "**" also across slashes, "[abc]" one of
    /// some characters. A glob without a slash before its end is compared with names at any depth, any other with the
    /// whole path from the folder; one that ends in a slash matches folders only, and "!" in front publishes again what
    /// an earlier one has excluded. The lines of a file ".tavrelignore" in the folder count before these; "#" begins a
    /// comment there, and one that cannot be read ends the run. False if a glob is malformed; then no glob is set.
    bool setExcluded(const QStringList& globs);
    /// See FTPCurl::setUploadMode(). InPlace by default. With TemporaryName, a run that is killed may leave files
    /// NAME.XXXXXXXX.part on the server, which later runs do not remove.
    bool setUploadMode(FTPCurl::UploadMode mode);
    /// Whether files get their modification times on the server, to the second, by one more command per file. A server
    /// that cannot do it is told in a remark. Off by default.
    void setKeepModificationTime(bool keep);
    /// See FTPCurl::setStallTimeOut(), but 60 s by default.
    bool setStallTimeOut(int seconds);
    /// See FTPCurl::setTrust(). False for a trust that is not valid.
    bool setTrust(const PeerTrust& trust);

Q_SIGNALS:
    /// At most ten times a second, and once at the end of the transfers; not in a dry run, nor in one that ends before
    /// its transfers.
    void progress(const PublishProgress& progress);
    /// Once for each file that is sent, unchanged, removed or failed; reason tells why a file failed.
    void fileFinished(const QString& path, FolderPublisher::Outcome outcome, const QString& reason);
    /// Once per run, after all other signals.
    void done(bool success);

protected:
    /// Called for each session before it is opened, on one of the threads of the run, for further settings such as
    /// FTPCurl::setSshKey(). Returning false ends the run with the client's error. A class that overrides it must call
    /// interruptAndWait() in its destructor, as a run would call the function of an object that is half destroyed.
    virtual bool prepareSession(FTPCurl& client);

    /// The work of the thread.
    void run() override;

private:
    struct State;

    bool begin(const FTPSettings& settings, const QString& folder, std::unique_ptr<FutureResult> result);
    void announce(PublishReport&& report);

    const QScopedPointer<State> mState;
};
