#include <tavrel/FTPSettingsSerializable.h>
#include <tavrel/SQLSettings.h>

#include <foundation/FileUtils.h>

#include <QProcess>
#include <QTranslator>
#include <QtTest>
#include <QtWidgets>

#include <EditableSettings.h>

#include <csignal>
#include <sys/resource.h>

/// An object in an object, as deep as depth says.
struct Nested : Serializable
{
    Nested(const QString& key, int depth)
        : Serializable(false)
        , mKey(key)
        , mDepth(depth)
    {
    }
    QString className() const override { return "Nested"; }
    void sync() override
    {
        if (mDepth > 1) {
            Nested inner(mKey, mDepth - 1);
            member(mKey, inner);
        }
    }
    QString mKey;
    int mDepth;
};

/// Keeps nothing of what it held before it was loaded.
struct Fresh : EditableSettings
{
    void sync() override
    {
        if (isReadingMode()) {
            *this = Fresh();
        }
        EditableSettings::sync();
    }
};

static EditableSettings example()
{
    EditableSettings settings;
    settings.setHost("host1");
    settings.setUser("anna");
    settings.setPassword("p@ss:w/rd%1 é");
    settings.setPublicUrl("http://h");
    return settings;
}

/// A row of a table, whose cells share a line.
template <class... Cells> static void row(const char* name, const Cells&... cells)
{
    (QTest::newRow(name) << ... << cells);
}

class SettingsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void savesInOrderAndNeverInTheClear()
    {
        EditableSettings settings = example();
        QVERIFY(settings.save(path("file"), nullptr));
        QCOMPARE(QFile::permissions(path("file")) & 0x77, QFile::Permissions());
        QVERIFY(settings.pwd() == "p@ss:w/rd%1 é" && !settings.isPwdEmpty());
        const QString xml = FileUtils::readFileContent(path("file"));
        const QRegularExpression shape("<FTPSettingsSerializable>\\s*<protocol val=\"1\"/>\\s*<host val=\"host1\"/>\\s*"
                                       "<port val=\"-1\"/>\\s*<psv val=\"true\"/>\\s*<user val=\"anna\"/>\\s*<pwd>\\s*"
                                       "<crypted val=\"true\"/>\\s*<val val=\"[0-9a-f]+\"/>\\s*</pwd>\\s*<public_url "
                                       "val=\"http://h\"/>\\s*<public_sub_folder val=\"\"/>\\s*<ftp_folder val=\"\"/>");
        QVERIFY2(shape.match(xml).hasMatch(), qPrintable(xml));
        FTPSettingsSerializable loaded;
        QVERIFY(loaded.load(path("file")) && loaded.pwd() == settings.pwd() && loaded.host() == "host1");
        Fresh fresh;
        fresh.setPublicSubFolder("old");
        QVERIFY(fresh.load(path("file")));
        QCOMPARE(fresh.publicFullAdress() + fresh.host(), QString("http://h/host1"));
        FTPSettingsSerializable copied;
        QVERIFY(copied.copy(&settings) && copied.pwd() == settings.pwd() && !SQLSettings().copy(&settings));
        QVERIFY(!SQLSettings().load(path("file")));
    }

    void readsWhatAFileHolds_data()
    {
        QTest::addColumn<QString>("members");
        QTest::addColumn<QString>("label");
        QTest::addColumn<QString>("password");
        row("nothing", "", "FTP://???", "");
        row("no passive mode", "<host val='h'/><psv val='0'/>", "FTP://h", "");
        row("another port", "<protocol val='8'/><port val='2222'/>", "SFTP://???:2222", "");
        row("a port of 30 digits", "<port val='123456789012345678901234567890'/>", "FTP://???", "");
        row("no protocol", "<protocol val='77'/><port val='abc'/>", "Undefined protocol://???", "");
        row("implicit", "<protocol val='4'/>", "FTPS Implicit (TLS)://???", "");
        row("the first of two", "<host val='a'/><host val='b'/><psv val='false'/>", "FTP://a", "");
        row("an older file", "<pwd val='plain'><val val='other'/></pwd>", "FTP://???", "plain");
        row("not crypted", "<pwd><val val='plain'/></pwd>", "FTP://???", "plain");
        row("no hexadecimal", "<pwd><crypted val='1'/><val val='xyz'/></pwd>", "FTP://???", "");
    }
    void readsWhatAFileHolds()
    {
        QFETCH(QString, members);
        write("<FTPSettingsSerializable>" + members + "</FTPSettingsSerializable>");
        FTPSettingsSerializable settings;
        QVERIFY(settings.load(path("file")));
        QTEST(settings.friendlyLabel(), "label");
        QTEST(settings.pwd(), "password");
    }

    void refusesHostileFiles()
    {
        const QString open = "<FTPSettingsSerializable><host val='x'/>";
        const QString deep = QString("<a>").repeated(1 << 17);
        const QString closed = open + deep + QString("</a>").repeated(1 << 17) + "</FTPSettingsSerializable>";
        const QString bomb = "<!DOCTYPE x [<!ENTITY a 'aaaaaaaaaa'><!ENTITY b '&a;&a;&a;&a;&a;&a;'>]>" + open + "&b;"
            + "</FTPSettingsSerializable>";
        const QString outside = "<!DOCTYPE x [<!ENTITY a SYSTEM 'file:///etc/passwd'>]>" + open + "<user val='&a;'/>"
            + "</FTPSettingsSerializable>";
        for (const QString& content : { QString(), open, open + deep, closed, bomb, outside, QString("<Other/>"),
                 QString("\x01\x02"), QString(2 << 20, ' ') }) {
            write(content);
            EditableSettings settings = example();
            QVERIFY(!settings.load(path("file")));
            QVERIFY(settings.host() == "host1" && settings.pwd() == example().pwd());
        }
        QVERIFY(!EditableSettings().load(path("missing")));
    }

    void savesOnlyWhatCanBeLoaded()
    {
        Nested deepest("key", 32);
        QVERIFY(deepest.save(path("file"), nullptr));
        const auto refuses
            = [&](Serializable&& object) { return !object.save(path("file"), nullptr) && deepest.load(path("file")); };
        for (const char* key : { "", "1", "a b", "a:b", "a x='1'", "a/><b" }) {
            QVERIFY2(refuses(Nested(key, 2)), key);
        }
        QVERIFY(refuses(Nested("key", 33)));
        for (const QString& text : { QString(QChar(1)), QString(1 << 20, 'x') }) {
            EditableSettings settings = example();
            settings.setHost(text);
            QVERIFY(refuses(std::move(settings)));
        }
        QVERIFY(!example().save(path("file/below"), nullptr));
    }

    void aFailedOrKilledSaveLeavesAWholeFile()
    {
        QVERIFY(example().save(path("file"), nullptr));
        signal(SIGXFSZ, SIG_IGN);
        const rlimit noRoom { 10, RLIM_INFINITY };
        const rlimit room { RLIM_INFINITY, RLIM_INFINITY };
        setrlimit(RLIMIT_FSIZE, &noRoom);
        const bool isSaved = example().save(path("file"), nullptr);
        setrlimit(RLIMIT_FSIZE, &room);
        QVERIFY(!isSaved && EditableSettings().load(path("file")));
        for (int round = 0; round < 100; ++round) {
            QProcess saving;
            saving.start(QCoreApplication::applicationFilePath(), { "--save", path("file") });
            QVERIFY(saving.waitForReadyRead());
            QThread::usleep(static_cast<unsigned long>(QRandomGenerator::global()->bounded(5000)));
            saving.kill();
            saving.waitForFinished();
            EditableSettings loaded;
            QVERIFY(loaded.load(path("file")) && loaded.pwd() == example().pwd());
        }
    }

    void describesATarget()
    {
        EditableSettings settings = example();
        EditableSettings other = example();
        other.setProtocol(FTPSettings::SFTP);
        other.setPort(0);
        bool changed = false;
        QVERIFY(settings.isEqualsPublication(&other, changed) && !changed && other.port() == 22);
        QCOMPARE(settings.signatureSettings(), other.signatureSettings());
        QCOMPARE(settings.signatureSettings().size(), 24);
        settings.setHost(" ho st1\t");
        settings.setFtpFolder(" a b/c");
        settings.setPublicSubFolder("/");
        QVERIFY(!settings.isEqualsPublication(&other, changed) && changed);
        settings.clean();
        QCOMPARE(settings.dumpInfos(), QString("FTP\nhost1:21"));
        QVERIFY(settings.ftpFolder() == "ab/c/" && settings.publicFullAdress() == "http://h//");
        QCOMPARE(settings.signatureSettings(),
            QString(QCryptographicHash::hash("host1_ab/c/_/anna", QCryptographicHash::Md5)
                        .toBase64(QByteArray::Base64UrlEncoding)));
        SQLSettings sql;
        QCOMPARE(sql.port(), 3306);
        sql.setPort(0);
        sql.setPassword("secret");
        QVERIFY(sql.port() == 0 && sql.save(path("file"), nullptr));
        SQLSettings loaded;
        QVERIFY(loaded.load(path("file")) && loaded.pwd() == "secret" && loaded.port() == 0);
    }

    void validatesInOrderInTwoLanguages()
    {
        EditableSettings settings;
        QStringList faults;
        QString message = "untouched";
        for (const char* language : { "", "tavrel_en", "tavrel_fr" }) {
            QTranslator translator;
            QVERIFY(!*language || translator.load(language, TRANSLATIONS));
            QCoreApplication::installTranslator(&translator);
            QVERIFY(!settings.validateSettings(message));
            faults << message << example().friendlyLabel();
        }
        QCOMPARE(faults,
            QStringList({ "Host is empty", "FTP://host1 (Shortname passive mode)", "Host is empty",
                "FTP://host1 (passive)", "L’hôte est vide", "FTP://host1 (passif)" }));
        settings = example();
        settings.setPublicUrl("");
        QVERIFY(!settings.validateSettings(message) && message == "Public URL is empty");
        settings.setPassword("");
        QVERIFY(!settings.validateSettings(message) && message == "Password is empty");
        message = "untouched";
        QVERIFY(example().validateSettings(message) && message == "untouched");
    }

    void preparesWidgets()
    {
        QComboBox box;
        FTPSettings::fillProtocolComboBox(&box, {});
        FTPSettings::fillProtocolComboBox(&box, FTPSettings::currentUsedProtocols());
        FTPSettings::fillProtocolComboBox(&box, FTPSettings::FTPS_IMPLICIT);
        QStringList items;
        for (int i = 0; i < box.count(); ++i) {
            items << box.itemText(i) + box.itemData(i).toString();
        }
        QCOMPARE(items, QStringList({ "FTP1", "SFTP8", "FTPS Explicit (TLS)2", "FTPS Implicit (TLS)4" }));
        QWidget window;
        QLineEdit other(&window);
        QLineEdit edit(&window);
        FTPSettings::initPortControl(&edit);
        edit.setText("65536");
        QVERIFY(edit.hasAcceptableInput());
        edit.setText("0");
        QVERIFY(!edit.hasAcceptableInput());
        FTPSettings::initPwdControl(&other);
        FTPSettings::initPwdControl(&edit);
        QCOMPARE(edit.echoMode(), QLineEdit::PasswordEchoOnEdit);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        edit.setFocus();
        QTest::keyClick(&edit, Qt::Key_P, Qt::ControlModifier | Qt::ShiftModifier | Qt::AltModifier | Qt::MetaModifier);
        QCOMPARE(edit.echoMode(), QLineEdit::Normal);
        QCOMPARE(other.echoMode(), QLineEdit::PasswordEchoOnEdit);
    }

private:
    QString path(const QString& name) const { return mFolder.filePath(name); }
    void write(const QString& content) { QVERIFY(FileUtils::writeFileContent(path("file"), content.toUtf8())); }

    QTemporaryDir mFolder;
};

int main(int argc, char* argv[])
{
    const QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    while (arguments.value(1) == "--save") { // until it is killed
        example().save(arguments.value(2), nullptr);
        std::puts("saved");
        std::fflush(stdout);
    }
    SettingsTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "SettingsTest.moc"
