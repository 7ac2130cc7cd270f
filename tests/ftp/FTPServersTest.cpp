#include "FtpTarget.h"
#include "RealServers.h"
#include "TestProgram.h"

#include <tavrel/FTPCurl.h>

#include <QBuffer>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <thread>

/// Much to upload; calls a function when a part of it has been read, and may fail after another.
class Source : public QBuffer
{
public:
    explicit Source(std::function<void()> onPart, qint64 readable = 64 << 20, int size = 64 << 20)
        : mOnPart(std::move(onPart))
        , mReadable(readable)
    {
        setData(QByteArray(size, 'x'));
    }

protected:
    qint64 readData(char* data, qint64 size) override
    {
        if (pos() >= (8 << 20) && mOnPart) {
            std::exchange(mOnPart, nullptr)();
        }
        return pos() < mReadable ? QBuffer::readData(data, size) : -1;
    }

private:
    std::function<void()> mOnPart;
    qint64 mReadable;
};

/// Takes its time for each write.
class SlowDisk : public QBuffer
{
protected:
    qint64 writeData(const char* data, qint64 size) override
    {
        QThread::msleep(5);
        return QBuffer::writeData(data, size);
    }
};

/// Counts the connections that a child process would inherit.
class Uninherited : public QBuffer
{
public:
    int inherited = 0;

protected:
    qint64 writeData(const char* data, qint64 size) override
    {
        for (int i = 3; i < 100; ++i) {
            sockaddr_storage address {};
            socklen_t length = sizeof address;
            const bool isConnection
                = getsockname(i, reinterpret_cast<sockaddr*>(&address), &length) == 0 && address.ss_family == AF_INET;
            inherited += isConnection && (fcntl(i, F_GETFD) & FD_CLOEXEC) == 0 ? 1 : 0;
        }
        return QBuffer::writeData(data, size);
    }
};

static const QDateTime NOON = QDateTime::fromString("2020-01-31T12:00:00Z", Qt::ISODate);

static bool modifyAtNoon(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadWrite) && file.setFileTime(NOON, QFileDevice::FileModificationTime);
}

/// Every test runs over each protocol, and over SFTP with both servers.
class FTPServersTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data()
    {
        QTest::addColumn<int>("protocol");
        QTest::addColumn<QString>("folder"); // on the disk
        QTest::addColumn<int>("port");
        QTest::addColumn<QString>("root");
        const auto row = [](const char* name, int protocol, const RealServers::Store& store) {
            QTest::newRow(name) << protocol << store.folder << int(store.port) << store.root;
        };
        row("FTP", FTPSettings::FTP, mServers.ftp());
        row("explicit FTPS", FTPSettings::FTPS_EXPLICIT, mServers.ftp());
        row("implicit FTPS", FTPSettings::FTPS_IMPLICIT, mServers.ftps());
        row("explicit FTPS, session reuse required", FTPSettings::FTPS_EXPLICIT, mServers.strictFtp());
        row("implicit FTPS, session reuse required", FTPSettings::FTPS_IMPLICIT, mServers.strictFtps());
        row("SFTP with ProFTPD", FTPSettings::SFTP, mServers.proftpdSftp());
        // Not every machine has these.
        const auto rowIfRunning = [&row](const char* name, int protocol, const RealServers::Store& store) {
            store.port != 0 ? row(name, protocol, store) : void();
        };
        rowIfRunning("SFTP with OpenSSH", FTPSettings::SFTP, mServers.openssh());
        rowIfRunning("FTP with vsftpd", FTPSettings::FTP, mServers.vsftpd());
        rowIfRunning("explicit FTPS with vsftpd", FTPSettings::FTPS_EXPLICIT, mServers.vsftpd());
        rowIfRunning("FTP with Pure-FTPd", FTPSettings::FTP, mServers.pureFtpd());
        rowIfRunning("explicit FTPS with Pure-FTPd", FTPSettings::FTPS_EXPLICIT, mServers.pureFtpd());
    }

    void init()
    {
        QFETCH_GLOBAL(int, protocol);
        QFETCH_GLOBAL(QString, folder);
        QFETCH_GLOBAL(int, port);
        QFETCH_GLOBAL(QString, root);
        mDisk = folder + "/www/";
        mIsSftp = protocol == FTPSettings::SFTP;
        mTarget = std::make_unique<FtpTarget>(protocol, port, root + "/www");
        mFtp = std::make_unique<FTPCurl>();
        QVERIFY(mFtp->initHost(*mTarget));
        QVERIFY2(mFtp->createDirectory("empty"), qPrintable(mFtp->errorMessage()));
    }
    void cleanup() { QDir(mDisk).removeRecursively(); }

    void keepsASite()
    {
        const QByteArray content = QByteArray("0123456789abcdef\r\n\0\xff", 20).repeated(150000);
        const QString copy = mFolder.filePath("copy");
        QVERIFY(FileUtils::writeFileContent(mFolder.filePath("large"), content));
        QVERIFY2(mFtp->putFile(mFolder.filePath("large"), "a/b/large", true), qPrintable(mFtp->errorMessage()));
        QVERIFY(mFtp->putData("old", "a/small", true));
        QVERIFY(mFtp->putData("new", "a/small", true));
        QVERIFY(mFtp->putData("", "a/nothing", false));
        QCOMPARE(onDisk("a/b/large"), content);
        QCOMPARE(onDisk("a/small"), QByteArray("new"));
        QVERIFY(QFile::exists(mDisk + "a/nothing"));

        VirtualFileList files;
        QVERIFY(mFtp->listRecursively("/" + mTarget->ftpFolder(), files));
        QStringList names;
        for (const VirtualFile& file : files) {
            names << mFtp->canonicalizedRelativeFilePath(file.name()).section("www/", 1);
        }
        names.sort();
        QCOMPARE(names, QStringList({ "a/b/large", "a/nothing", "a/small" }));

        QByteArray data = "before";
        QVERIFY(mFtp->getData("a/nothing", data));
        QVERIFY(data.isEmpty());
        QVERIFY(mFtp->getFile("a/b/large", copy));
        QCOMPARE(FileUtils::readFileContent(copy), content);
        QVERIFY(mFtp->internal_chmod("a/small", 0640));
        QVERIFY(mFtp->internal_chmod("a/b/", 0750));
        QCOMPARE(modeOf("a/small"), 0640);
        QCOMPARE(modeOf("a/b"), 0750);

        QVERIFY(mFtp->removeSimpleResource(mFtp->canonicalizedFilePath("a/nothing"), false));
        mFtp->tryRemoveDirIfEmpty(mFtp->canonicalizedFilePath("a"));
        QVERIFY(!mFtp->hasError());
        QVERIFY(QFile::exists(mDisk + "a"));
        QVERIFY(mFtp->removeResource("a/small"));
        QVERIFY(!QFile::exists(mDisk + "a/small"));
        const bool isProtected = mIsSftp || mTarget->ftpProtocol() == FTPSettings::FTP
            || curl_version_info(CURLVERSION_NOW)->version_num >= 0x080500;
        QCOMPARE(mFtp->initHost(FtpTarget(*mTarget).active()), isProtected);
        if (isProtected) {
            Uninherited sink;
            VFSCurlData request { VFSCurlData::Download, mFtp.get(), &sink, {}, mFtp->generateUrl("a/b/large") };
            QCOMPARE(performCurlRequest(request), int(CURLE_OK));
            QCOMPARE(sink.inherited, 0);
            QVERIFY(sink.data() == content);
        }
        QVERIFY(mFtp->initHost(*mTarget));
        QVERIFY2(mFtp->removeResource("a"), qPrintable(mFtp->errorMessage()));
        QCOMPARE(QDir(mDisk).entryList(QDir::NoDotAndDotDot | QDir::AllEntries), QStringList("empty"));
    }

    /// libcurl leaves session tickets of TLS 1.3 unread, and a connection that is closed then is reset.
    void isNotCutOff()
    {
        for (int i = 0; i < 40; ++i) {
            const QByteArray content(i * 7500, char('a' + i % 26));
            QVERIFY2(mFtp->putData(content, QString::number(i), false), qPrintable(mFtp->errorText()));
            QVERIFY(onDisk(QString::number(i)) == content);
        }
    }

    void meansExactlyTheName()
    {
        QStringList names { "a", "a\" x", "it's \"quoted\"", "back\\slash\\", "\\\"", "a#b?c%20d;e", "f;type=a",
            "two  blanks", "-rf", "\u00e9t\u00e9", "+plus&amp", "[brackets]", "10 \u20ac.txt", "~", "~root" };
        QVERIFY(mFtp->setNameEncoding(FTPCurl::Utf8));
        if (mTarget->port() == mServers.pureFtpd().port) {
            names = names.filter(QRegularExpression("^[^\\\\]*$")); // others are refused there
        }
        for (const QString& name : names) {
            const QString path = "odd/" + name;
            QVERIFY2(mFtp->putData(name.toUtf8(), path, true), qPrintable(mFtp->errorMessage()));
            QVERIFY2(mFtp->createDirectory("dir " + name), qPrintable(mFtp->errorMessage()));
        }
        QCOMPARE(QDir(mDisk + "odd").entryList(QDir::Files).size(), names.size());
        VirtualFileList files;
        QVERIFY(mFtp->list("odd", files));
        QCOMPARE(files.size(), names.size());
        QVERIFY(files.contains(VirtualFile(mFtp->canonicalizedFilePath("odd/10 \u20ac.txt"), 0, {}, {}, 0, {}, {},
            false, true, false, false, false, false)));
        FTPCurl other; // which remembers nothing
        QVERIFY(other.initHost(*mTarget));
        for (const QString& name : names) {
            const QString path = "odd/" + name;
            bool exists = false;
            QVERIFY(other.resourceExists(path, exists));
            QVERIFY(exists);
            QByteArray data;
            QVERIFY2(mFtp->getData(path, data), qPrintable(name));
            QCOMPARE(data, name.toUtf8());
            // ProFTPD takes the arguments of SITE apart itself.
            QVERIFY2(!mIsSftp || mFtp->internal_chmod(path, 0600), qPrintable(name));
            QCOMPARE(modeOf(path), mIsSftp ? 0600 : 0644);
        }
        for (const QString& name : names) {
            QVERIFY2(mFtp->removeResource("odd/" + name), qPrintable(name + mFtp->errorMessage()));
            QVERIFY2(mFtp->removeResource("dir " + name), qPrintable(name + mFtp->errorMessage()));
            const QStringList left = QDir(mDisk + "odd").entryList(QDir::Files);
            QCOMPARE(left.size(), names.size() - names.indexOf(name) - 1);
        }
        const QString home = mTarget->ftpFolder().section("/www", 0, 0) + "/~"; // may start with it
        QByteArray data;
        QVERIFY2(mFtp->putData("~", home, false), qPrintable(mFtp->errorText()));
        QVERIFY2(mFtp->getData(home, data), qPrintable(mFtp->errorText()));
        QCOMPARE(data, QByteArray("~"));
        QVERIFY2(mFtp->removeResource(home), qPrintable(mFtp->errorText()));
        QVERIFY(!QFile::exists(mDisk + "../~"));
    }

    void tellsWhatIsMissing()
    {
        const QString path = mFtp->canonicalizedFilePath("missing");
        QVERIFY(!mFtp->list("missing", *std::make_unique<VirtualFileList>()));
        QVERIFY(mFtp->errorMessage().startsWith("Can't list " + path + '/'));
        QByteArray data;
        QVERIFY(!mFtp->getData("missing", data));
        QVERIFY(mFtp->errorMessage().startsWith("Can't getFile for " + path));
        QVERIFY(!mFtp->putData("x", "missing/a", false));
        QVERIFY(!mFtp->internal_chmod("missing", 0600));
        QVERIFY(!mFtp->removeResource("missing"));
        QVERIFY(!mFtp->internal_mkdir("empty"));
        QCOMPARE(mFtp->error(), ErrorableCode::of(CURLE_QUOTE_ERROR));
        QVERIFY(mFtp->existingResourceCacheValue("missing") == 1); // a failed removal tells nothing
        for (const char* name : { "none", "none/", "none/a" }) {
            bool exists = true;
            QVERIFY(mFtp->resourceExists(name, exists));
            QVERIFY(!exists);
        }
        FTPCurl intruder;
        QVERIFY(intruder.initHost(FtpTarget(*mTarget).withPassword("wrong")));
        QVERIFY(!intruder.getData("a", data));
        QCOMPARE(intruder.error(), ErrorableCode::of(CURLE_LOGIN_DENIED));
    }

    void givesModesOverSftpOnly()
    {
        mFtp->setFilePermissions(0600);
        mFtp->setFolderPermissions(0700);
        QVERIFY(mFtp->putData("x", "private/a", true));
        mFtp->setFilePermissions(02775); // which libcurl refuses
        QCOMPARE(mFtp->putData("x", "private/b", false), !mIsSftp);
        mFtp->setFilePermissions(-1);
        mFtp->setFolderPermissions(-1);
        QVERIFY(mFtp->putData("x", "public/a", true));
        QCOMPARE(modeOf("private/a"), mIsSftp ? 0600 : 0644);
        QCOMPARE(modeOf("private"), mIsSftp ? 0700 : 0755);
        QCOMPARE(modeOf("public/a"), 0644);
        QCOMPARE(modeOf("public"), 0755);
    }

    void goesOnAfterASilenceOfTheServer()
    {
        const int all = 64 << 20;
        // The data connection is closed when the silence begins; libcurl reads more at once for SFTP.
        const int buffered = mIsSftp ? all : (8 << 20) + 100000;
        for (const auto& [size, isInterrupted] : { std::pair(all, true), { buffered, true }, { all, false } }) {
            Thread thread;
            thread.addThreadableChild(mFtp.get());
            QVERIFY(mFtp->setStallTimeOut(isInterrupted ? 0 : 1));
            QElapsedTimer sinceAsked;
            std::thread asking;
            Source source(
                [&, isInterrupted = isInterrupted] { // else it ends as it has stalled
                    mServers.sendSignal("STOP");
                    asking = std::thread([&, isInterrupted] {
                        QThread::msleep(250); // all buffers are full, and no timer of libcurl is about to run out
                        sinceAsked.start();
                        isInterrupted ? thread.requestInterruption() : void();
                    });
                },
                size, size);
            const bool success = mFtp->putDataFromIoDevice(&source, "memory", "a");
            QVERIFY2(asking.joinable(), qPrintable(mFtp->errorText()));
            asking.join();
            const qint64 returned = sinceAsked.elapsed();
            mFtp->setThreadForInterrupt(nullptr);
            const ErrorableCode error = mFtp->error();
            mFtp->close();
            const qint64 closed = sinceAsked.elapsed() - returned;
            mServers.sendSignal("CONT");
            QVERIFY(!success);
            QCOMPARE(error, ErrorableCode::of(isInterrupted ? CURLE_ABORTED_BY_CALLBACK : CURLE_OPERATION_TIMEDOUT));
            QVERIFY2(returned <= (isInterrupted ? 300 : 20000), qPrintable(QString::number(returned)));
            QVERIFY2(closed <= 300, qPrintable(QString::number(closed)));
            const qint64 arrived = QFileInfo(mDisk + "a").size();
            QVERIFY2(arrived > 0, "an upload goes into its file, and stays there as far as it came");
            QVERIFY(arrived < source.size() || size == buffered);
            QVERIFY(mFtp->setStallTimeOut(0)); // the servers may take their time to wake up
            QVERIFY(mFtp->initHost(*mTarget));
            QVERIFY2(mFtp->putData("x", "b", false), qPrintable(mFtp->errorMessage()));
        }
    }

    void tellsSizesAndTimes()
    {
        const QString name = "5 \u20ac";
        QVERIFY(mFtp->putData("12345", "tree/" + name, true));
        QVERIFY(mFtp->createDirectory("tree/sub"));
        QVERIFY(QFile::link(name, mDisk + "tree/l"));
        QVERIFY(modifyAtNoon(mDisk + "tree/" + name));
        QVector<RemoteEntry> entries;
        QVERIFY2(mFtp->listDetailed("tree", entries), qPrintable(mFtp->errorText()));
        QCOMPARE(entries.size(), 3);
        const bool isPlain = mTarget->ftpProtocol() == FTPSettings::FTP;
        QCOMPARE(mFtp->peerFingerprint().section(QRegularExpression("[:/]"), 0, 0),
            QString(isPlain   ? ""
                    : mIsSftp ? "SHA256"
                              : "sha256"));
        std::sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
        QCOMPARE(entries[0].name, name);
        QCOMPARE(entries[0].kind, RemoteEntry::File);
        QCOMPARE(entries[0].size, qint64 { 5 });
        QCOMPARE(entries[0].permissions, 0644);
        const bool isToTheDay = mIsSftp || mTarget->port() == mServers.vsftpd().port; // without MLSD
        QCOMPARE(entries[0].timePrecision, isToTheDay ? RemoteEntry::ToTheDay : RemoteEntry::ToTheSecond);
        QCOMPARE(entries[0].modified, isToTheDay ? NOON.addSecs(qint64 { -12 } * 60 * 60) : NOON);
        QCOMPARE(entries[1].kind, RemoteEntry::Link);
        QCOMPARE(entries[1].name, QString("l"));
        QCOMPARE(entries[2].kind, RemoteEntry::Directory);
        QCOMPARE(entries[2].path, mFtp->canonicalizedFilePath("tree/sub/"));
    }

    void publishesWholeFilesOnly()
    {
        const QString local = mFolder.filePath("local");
        QVERIFY(FileUtils::writeFileContent(local, "new"));
        QVERIFY(modifyAtNoon(local));
        mFtp->setVerifyUploads(true);
        mFtp->setKeepModificationTime(true);
        QVERIFY(mFtp->setUploadMode(FTPCurl::TemporaryName));
        QVERIFY2(mFtp->putData("old", "whole/a \"b", true), qPrintable(mFtp->errorText()));
        QVERIFY2(mFtp->putFile(local, "whole/a \"b", false), qPrintable(mFtp->errorText()));
        QCOMPARE(onDisk("whole/a \"b"), QByteArray("new"));
        QCOMPARE(QFileInfo(mDisk + "whole/a \"b").lastModified(), NOON);
        QVERIFY(mFtp->rename("whole/a \"b", "whole/c"));
        QVERIFY(QFile::remove(local));
        QVERIFY2(mFtp->getFile("whole/c", local), qPrintable(mFtp->errorText()));
        QCOMPARE(QFileInfo(local).lastModified(), NOON);
        QVERIFY(FileUtils::writeFileContent(local, "") && modifyAtNoon(local));
        QVERIFY2(mFtp->putFile(local, "whole/nothing", false), qPrintable(mFtp->errorText()));
        QCOMPARE(QFileInfo(mDisk + "whole/nothing").lastModified(), NOON);
        QVERIFY(FileUtils::writeFileContent(local, ""));
        QVERIFY2(mFtp->getFile("whole/nothing", local), qPrintable(mFtp->errorText()));
        QCOMPARE(QFileInfo(local).lastModified(), NOON);
        QVERIFY(mFtp->removeResource("whole/nothing"));
        for (const int readable : { 0, 8 << 20 }) {
            Source broken(nullptr, readable);
            QVERIFY(!mFtp->putDataFromIoDevice(&broken, "memory", "whole/c"));
            QCOMPARE(mFtp->error(), ErrorableCode::of(CURLE_READ_ERROR));
        }
        QVERIFY(!mFtp->putFile(local, "whole", false));
        QCOMPARE(QDir(mDisk).entryList({ "whole*" }), QStringList("whole"));
        QCOMPARE(onDisk("whole/c"), QByteArray("new"));
        QCOMPARE(QDir(mDisk + "whole").entryList(QDir::Files), QStringList("c"));
    }

    void continuesTransfers()
    {
        QByteArray source(200000, '\0');
        QRandomGenerator(1).fillRange(reinterpret_cast<quint32*>(source.data()), source.size() / 4);
        // Only the last bytes are compared, so a target that was continued keeps another first byte.
        const QByteArray marked = '!' + source.mid(1);
        const int cut = QRandomGenerator::global()->bounded(1 << 17, source.size());
        QByteArray changed = marked;
        changed[source.size() - 1000] = changed[source.size() - 1000] + 1;
        const struct
        {
            const char* target;
            QByteArray before;
            QByteArray after;
        } rows[] = { { "cut", marked.left(cut), marked }, { "cut early", source.left(7), source },
            { "complete", marked, marked }, { "other bytes at the end", changed, source },
            { "other bytes in a short one", marked.left(7), source }, { "longer", marked + 'x', source },
            { "much longer", marked + marked, source }, { "empty", "", source }, { "missing", {}, source } };
        const QString local = mFolder.filePath("resumed");
        const bool refusesToAppend = mTarget->port() == mServers.strictFtp().port;
        mFtp->setResumeTransfers(true);
        mFtp->setVerifyUploads(true);
        for (const auto& row : rows) {
            const QString remote = mDisk + "resumed";
            for (const bool isUpload : { true, false }) {
                const QByteArray what = QByteArray(row.target) + (isUpload ? ", up" : ", down");
                const QString target = isUpload ? remote : local;
                QVERIFY(FileUtils::writeFileContent(isUpload ? local : remote, source));
                QFile::remove(target);
                QVERIFY(row.before.isNull() || FileUtils::writeFileContent(target, row.before));
                QVERIFY(row.before.isNull() || !isUpload || QFile::setPermissions(target, QFile::Permissions(0x6666)));
                const bool success
                    = isUpload ? mFtp->putFile(local, "resumed", false) : mFtp->getFile("resumed", local);
                QVERIFY2(success, qPrintable(what + mFtp->errorText()));
                const bool isAnew = isUpload && refusesToAppend && row.before == marked.left(cut);
                QVERIFY2(FileUtils::readFileContent(target) == (isAnew ? source : row.after), what);
            }
        }
        // A failure leaves a local file that is another.
        QVERIFY(!mFtp->getFile("missing", local));
        QCOMPARE(FileUtils::readFileContent(local), source);
        QVERIFY(mFtp->putData("", "nothing", false));
        QVERIFY2(mFtp->getFile("nothing", local), qPrintable(mFtp->errorText()));
        QCOMPARE(QFileInfo(local).size(), qint64 { 0 });
    }

    void doesNotTakeASlowDiskForAStall()
    {
        const QByteArray content(6 << 20, 'x');
        QVERIFY(mFtp->putData(content, "large", false));
        QVERIFY(mFtp->setStallTimeOut(1));
        SlowDisk disk;
        VFSCurlData request { VFSCurlData::Download, mFtp.get(), &disk, QTime::currentTime(),
            mFtp->generateUrl("large") };
        QCOMPARE(performCurlRequest(request), int(CURLE_OK));
        QVERIFY(disk.data() == content);
    }

    void takesALinkForWhatTheServerSaysItIs()
    {
        QVERIFY(mFtp->putData("x", "tree/file", true));
        QVERIFY(mFtp->putData("x", "outside/file", true));
        QVERIFY(QFile::link("../outside", mDisk + "tree/directory"));
        QVERIFY(QFile::link("file", mDisk + "tree/link"));
        VirtualFileList files;
        QVERIFY(mFtp->list("tree", files));
        const auto isDirectory = [](const VirtualFile& file) { return file.isDir(); };
        // OpenSSH finds a file behind a link to a directory, and removes the link only. Elsewhere the removal
        // goes through it, and then the server does not take the link for a directory.
        const bool isFollowed = !mDisk.contains("/ssh/");
        QCOMPARE(int(std::count_if(files.begin(), files.end(), isDirectory)), isFollowed ? 1 : 0);
        QCOMPARE(mFtp->removeResource("tree"), !isFollowed);
        QCOMPARE(QFile::exists(mDisk + "outside/file"), !isFollowed);
        QVERIFY(QFile::link("nowhere", mDisk + "empty/dangling"));
        QVERIFY(!mFtp->listRecursively("empty", files)); // nothing exists behind it, so it is no file
    }

private:
    QByteArray onDisk(const QString& path) const { return FileUtils::readFileContent(mDisk + path); }
    int modeOf(const QString& path) const
    {
        struct stat status
        {
        };
        return stat(QFile::encodeName(mDisk + path).constData(), &status) == 0 ? int(status.st_mode & 07777U) : -1;
    }

    RealServers mServers { { "proftpd", "openssh", "vsftpd", "pureftpd" } };
    QTemporaryDir mFolder;
    QString mDisk;
    bool mIsSftp = false;
    std::unique_ptr<FtpTarget> mTarget;
    std::unique_ptr<FTPCurl> mFtp;
};

QTEST_GUILESS_MAIN(FTPServersTest)
#include "FTPServersTest.moc"
