#include <tavrel/VirtualFile.h>
#include <tavrel/ftpparser.h>

#include <QtTest>

/// The parsed entry as text: kinds, name, size, time, id.
static QString read(const QByteArray& line)
{
    ftpparser_entry entry;
    // A separate buffer, so that a sanitizer detects a read beyond it.
    const std::unique_ptr<char[]> bytes(new char[static_cast<size_t>(line.size())]);
    std::copy(line.cbegin(), line.cend(), bytes.get());
    if (ftpparser(&entry, bytes.get(), line.size()) == 0) {
        return "rejected";
    }
    QString text;
    text += entry.is_dir ? "d" : "";
    text += entry.is_file ? "f" : "";
    text += entry.is_link ? "l" : "";
    text += entry.may_be_dir ? "D" : "";
    text += entry.may_be_file ? "F" : "";
    text += " [" + QString::fromUtf8(entry.name, entry.name_length) + "]";
    text += entry.size_kind == SIZE_BYTES ? " " + QString::number(entry.size) : " ?";
    const QDateTime time = QDateTime::fromSecsSinceEpoch(entry.mtime).toUTC();
    text += entry.mtime_kind == MTIME_UNKNOWN
        ? QString(" ?")
        : " " + QString::number(entry.mtime_kind) + time.toString("@yyyy-MM-dd/hh:mm").remove('+');
    return entry.id_kind == ID_FULL ? text + " #" + QString::fromUtf8(entry.id, entry.id_length) : text;
}

struct Watching : VirtualFile
{
    void setLockOwner(const QString& owner) override { VirtualFile::setLockOwner(owner + "!"); }
    using VirtualFile::operator=;
};

class RemoteTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsLines()
    {
        QList<QPair<QByteArray, QString>> cases { { "+i1234.5678,m1000000000,r,s280,\tindex.html",
                                                      "fF [index.html] 280 1@2001-09-09/01:46 #1234.5678" },
            { "+/,\t", "dD [] ? ?" }, { "+,x,s280\ta\tb", " [a\tb] ? ?" },
            { "-rw-r--r--   1 alice staff      531 Jan 29 1999 notes.txt", "fF [notes.txt] 531 3@1999-01-29/00:00" },
            { "lrwxrwxrwx 1 alice staff 7 JAN 25 2001 bin -> usr/bin", "flDF [bin] 7 3@2001-01-25/00:00" },
            { "lrwxrwxrwx 1 alice staff 7 Jan 25 2001 a -> b -> c", "flDF [a -> b] 7 3@2001-01-25/00:00" },
            { "dr-xr-xr-x   2 alice     512 Apr  8  1994 etc", "dD [etc] 512 3@1994-04-08/00:00" },
            { "d [R----F--] alice 512 Jan 16 2000    login", "dD [login] 512 3@2000-01-16/00:00" },
            { "drwxrwxr-x folder 2 Feb 29 2000 net  presenz ", "dD [net  presenz ] 2 3@2000-02-29/00:00" },
            { "srw-r--r-- 1 a b c 9 8 Mar 1 20000 socket", " [socket] 8 3@20000-03-01/00:00" },
            { "CORE.DIR;1          1  8-SEP-1996 16:09 [SYSTEM]", "dD [CORE] ? 2@1996-09-08/16:09" },
            { "a.txt;2 163/165 8-sep-1996 16:09:10 [SYSTEM]", "fF [a.txt] ? 2@1996-09-08/16:09" },
            { ".DIR;1 1 8-SEP-1996 16:09 x", "fF [.DIR] ? 2@1996-09-08/16:09" },
            { "04-27-00  12:09AM       <DIR>          licensed", "dD [licensed] ? 2@2000-04-27/00:09" },
            { "04-27-50  12:09PM  9 a b", "fF [a b] 9 2@1950-04-27/12:09" },
            { "04-27-2049  01:15PM  9 a", "fF [a] 9 2@2049-04-27/13:15" } };
        for (const QByteArray& line : QByteArrayList { "+m1,s2", "-rw-r--r-- 1 alice staff 531 Jan 29 12 notes.txt",
                 "-rw-r--r-- 1 alice staff 531 Jan 29 2000", "total 14786", "CORE.DIR;1 1 8-XXX-1996 16:09 [SYSTEM]",
                 "CORE.DIR;1 1 8-SEP-1996 16:09", "Directory SYS$COMMON:[SYSTEM]", "04-27-00  12:09A",
                 "04-27-00  12:09AM  9 ", "+", QByteArray("\0\0", 2) }) {
            cases.append({ line, "rejected" });
        }
        for (const auto& row : cases) {
            QVERIFY2(read(row.first) == row.second, row.first + " is " + read(row.first).toUtf8());
            for (int length = 0; length < row.first.size(); ++length) {
                read(row.first.left(length)); // reads no byte too many
            }
        }
    }

    void guessesTheYear()
    {
        const QDateTime now = QDateTime::currentDateTimeUtc();
        for (const int days : { -300, -1, 0, 10 }) {
            const QDateTime then = now.addDays(days);
            const QString line = "-rw-r--r-- 1 a b 1 " + QLocale::c().toString(then, "MMM d hh:mm") + " n";
            if (days < 0 || then.date().year() == now.date().year()) { // the years guessed
                QCOMPARE(read(line.toUtf8()), "fF [n] 1 2" + then.toString("@yyyy-MM-dd/hh:mm"));
            }
        }
        QVERIFY(read("-rw-r--r-- 1 a b 1 Jan 1 3:04 n").endsWith("/03:04"));
    }

    void survivesGarbage()
    {
        const QByteArray digits(40, '9');
        for (const QByteArray& line :
            { "-rw 1 a b " + digits + " Jan " + digits + " " + digits + " n", "+m" + digits + ",s" + digits + ",\tn",
                "a;1 1 " + digits + "-JAN-" + digits + " " + digits + ":" + digits + " x",
                digits + "-" + digits + "-" + digits + " " + digits + ":" + digits + "PM " + digits + " n" }) {
            QVERIFY(read(line) != "rejected");
        }
        QCOMPARE(read("d" + QByteArray(1 << 20, ' ')), QString("rejected"));
        QCOMPARE(read(QByteArray(1 << 20, '5')), QString("rejected"));
    }

    void filesKeepNameAndProperties()
    {
        const QDateTime time;
        const VirtualFile file(
            QUrl("ftp://h/dir/a%20b"), 1, "", "", 5, time, time, false, true, false, true, true, true);
        VirtualFile directory("a b", 0, "", "", 0, time, time, true, false, false, false, false, false);
        QCOMPARE(file.name(), QString("a b"));
        QCOMPARE(file.isDir(), false);
        QCOMPARE(directory.isDir(), true);
        QVERIFY(file == directory);
        directory.setLocked(true);
        directory.setLockTimeOut(7);
        directory.setLockToken("token");
        directory.setLockOwner("owner");
        directory.setContentType("type");
        QVERIFY(VirtualFile(directory) == directory);
        Watching watching;
        watching = directory;
        QCOMPARE(watching.lockOwner(), QString("owner!"));
        QVERIFY(watching != directory);
        VirtualFile unlocked("c", 0, "", "", 0, time, time, false, true, false, false, false, false);
        unlocked.setLockToken("token");
        unlocked.setContentType("type");
        directory.init("c", 0, "", "", 0, time, time, false, true, false, false, false, false);
        QVERIFY(directory == unlocked);
    }
};

QTEST_GUILESS_MAIN(RemoteTest)
#include "RemoteTest.moc"
