// A file store over FTP or SFTP with Tavrel, as an application would write it. It takes the arguments
// of bench_plain_ftp. STORE stands for "ftp|sftp PORT ROOT".
//
//   bench_tavrel_ftp publish STORE FOLDER
//   bench_tavrel_ftp put STORE PATH
//   bench_tavrel_ftp get STORE PATH
//   bench_tavrel_ftp remove STORE
//   bench_tavrel_ftp find STORE COUNT        lists the directory tree recursively, which holds COUNT files
//   bench_tavrel_ftp list STORE TIMES NAME   lists the directory NAME several times
//
// Other figures, printed without a time:
//
//   bench_tavrel_ftp record-bytes STORE NAME   memory per entry of the directory NAME, without its name
//   bench_tavrel_ftp parse COUNT               millions of listing lines per second

#include "program.h"
#include "report.h"

#include <tavrel/FTPCurl.h>
#include <tavrel/FTPSettingsSerializable.h>
#include <tavrel/ftpparser.h>

#include <QDir>
#include <QFile>

#include <array>
#include <cstdio>
#include <unistd.h>

namespace {

constexpr double MILLION = 1e6;

struct LoopbackSettings : FTPSettingsSerializable
{
    LoopbackSettings(const QString& protocol, int port, const QString& root)
    {
        mProtocol = protocol == QLatin1String("sftp") ? SFTP : FTP;
        mHost = QStringLiteral("127.0.0.1");
        mPort = port;
        mFtpFolder = root;
        mUser = qEnvironmentVariable("USER_NAME");
        mPassword.setValue(qEnvironmentVariable("PASSWORD"));
    }
};

bool publish(FTPCurl& client, const QDir& folder)
{
    for (const QString& directory : folder.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name)) {
        const QDir source(folder.filePath(directory));
        for (const QString& name : source.entryList(QDir::Files, QDir::Name)) {
            if (!client.putFile(source.filePath(name), QStringLiteral("site/%1/%2").arg(directory, name), true)) {
                return false;
            }
        }
    }
    return true;
}

bool find(FTPCurl& client, int count)
{
    VirtualFileList files;
    return client.listRecursively(QStringLiteral("tree"), files) && files.size() == count;
}

bool list(FTPCurl& client, const QString& directory, int times)
{
    bool success = true;
    for (int i = 0; success && i < times; ++i) {
        VirtualFileList files;
        success = client.list(directory, files);
    }
    return success;
}

/// Current resident memory of the process.
qint64 residentBytes()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly)) {
        return 0;
    }
    return file.readAll().split(' ').value(1).toLongLong() * sysconf(_SC_PAGESIZE);
}

bool printRecordBytes(FTPCurl& client, const QString& directory)
{
    // The first request allocates memory that every session needs.
    VirtualFileList files;
    if (!client.list(QStringLiteral("tree"), files)) {
        return false;
    }
    files.clear();
    const qint64 before = residentBytes();
    if (!client.list(directory, files)) {
        return false;
    }
    qint64 grown = residentBytes() - before;
    for (const VirtualFile& file : files) {
        grown -= file.name().size() * static_cast<qint64>(sizeof(QChar));
    }
    std::printf("%.1f\n", static_cast<double>(grown) / files.size());
    return true;
}

/// A line of one of the styles; number makes it unique.
QByteArray listingLine(int number)
{
    constexpr int MAX_DAY = 28;
    const QByteArray day = QByteArray::number(number % MAX_DAY + 1);
    const QByteArray digits = QByteArray::number(number);
    const std::array<QByteArray, 8> lines { {
        "+i" + digits + ".5678,m1000000000,r,s" + digits + ",\tpage" + digits + ".html",
        "-rw-r--r--   1 alice    staff   " + digits + " Jan " + day + " 00:17 page" + digits + ".html",
        "drwxr-xr-x   2 alice    staff       4096 Nov " + day + "  1995 folder" + digits,
        "lrwxrwxrwx   1 alice    staff          7 Jan " + day + " 00:17 link" + digits + " -> usr/bin",
        "-rw-r--r--   1 alice    staff   " + digits + " Mar " + day + "  2001 a name with blanks " + digits,
        "d [R----F--] alice            512 Jan " + day + " 2001    login" + digits,
        "CORE" + digits + ".DIR;1  1 " + day + "-SEP-1996 16:09 [SYSTEM] (RWED,RWED,RE,RE)",
        "04-27-00  12:09PM             " + digits + " page" + digits + ".html",
    } };
    return lines.at(static_cast<size_t>(number) % lines.size());
}

bool parse(int count)
{
    QByteArray text;
    QList<int> ends;
    for (int i = 0; i < count; ++i) {
        text += listingLine(i);
        ends += text.size();
    }
    char* const bytes = text.data();
    int known = 0;
    int begin = 0;
    const Moment start = momentNow();
    for (const int end : ends) {
        ftpparser_entry entry;
        known += ftpparser(&entry, bytes + begin, end - begin);
        begin = end;
    }
    std::printf("%.3f\n", count / (momentNow().seconds - start.seconds) / MILLION);
    return known == count || fail(QStringLiteral("%1 lines were not recognized").arg(count - known));
}

bool runSubject(FTPCurl& client, const QString& subject, const QStringList& arguments)
{
    const QString first = arguments.value(0);
    const QString large = QStringLiteral("large");
    if (subject == QLatin1String("publish")) {
        return publish(client, QDir(first));
    }
    if (subject == QLatin1String("put")) {
        return client.putFile(first, large, false);
    }
    if (subject == QLatin1String("get")) {
        return client.getFile(large, first);
    }
    if (subject == QLatin1String("remove")) {
        return client.removeResource(QStringLiteral("tree"));
    }
    if (subject == QLatin1String("find")) {
        return find(client, first.toInt());
    }
    return subject == QLatin1String("list") && list(client, arguments.value(1), first.toInt());
}

bool run(const QStringList& arguments)
{
    const QString subject = arguments.value(1);
    if (subject == QLatin1String("parse")) {
        return parse(arguments.value(2).toInt());
    }
    const LoopbackSettings settings(arguments.value(2), arguments.value(3).toInt(), arguments.value(4));
    const Moment start = momentNow();
    FTPCurl client;
    bool success = client.initHost(settings);
    if (subject == QLatin1String("record-bytes")) {
        success = success && printRecordBytes(client, arguments.value(5));
    } else {
        success = success && runSubject(client, subject, arguments.mid(5));
        reportSince(start);
    }
    return success || fail(client.errorText());
}

} // namespace

int main(int argc, char* argv[])
{
    return runProgram(argc, argv, run);
}
