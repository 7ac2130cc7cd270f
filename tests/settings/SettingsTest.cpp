#include <tavrel/FTPSettingsSerializable.h>
#include <tavrel/SQLSettings.h>

#include <foundation/FileUtils.h>

#include <QTranslator>
#include <QtTest>
#include <QtWidgets>

#include <EditableSettings.h>

#include <csignal>
#include <sys/resource.h>

/// An object in an object, as deep as depth says. It assigns to itself while it is loaded.
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
        QString text = isReadingMode() ? "" : "written";
        *this = Nested(mKey, mDepth);
        member("text", text);
        mText = text;
        if (Nested inner(mKey, mDepth - 1); inner.mDepth > 0) {
            member(mKey, inner);
        }
    }
    QString mKey, mText;
    int mDepth;
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

static QString text(const FTPSettings& of)
{
    return QStringList({ of.friendlyLabel(), of.user(), of.pwd(), of.ftpFolder(), of.publicFullAdress() }).join('|');
}

class SettingsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void savesInOrderAndNeverInTheClear()
    {
        EditableSettings settings = example();
        QVERIFY(settings.save(mPath, nullptr));
        QCOMPARE(QFile::permissions(mPath) & 0x77, QFile::Permissions());
        QCOMPARE(text(settings), text(example()));
        const QString xml = FileUtils::readFileContent(mPath);
        const QRegularExpression shape("<FTPSettingsSerializable>\\s*<protocol val=\"1\"/>\\s*<host val=\"host1\"/>\\s*"
                                       "<port val=\"-1\"/>\\s*<psv val=\"true\"/>\\s*<user val=\"anna\"/>\\s*<pwd>\\s*"
                                       "<crypted val=\"true\"/>\\s*<val val=\"[0-9a-f]+\"/>\\s*</pwd>\\s*<public_url "
                                       "val=\"http://h\"/>\\s*<public_sub_folder val=\"\"/>\\s*<ftp_folder val=\"\"/>");
        QVERIFY2(shape.match(xml).hasMatch(), qPrintable(xml));
        FTPSettingsSerializable loaded;
        QVERIFY(loaded.load(mPath));
        QCOMPARE(text(loaded), text(settings));
        FTPSettingsSerializable copied;
        QVERIFY(copied.copy(&settings));
        QCOMPARE(text(copied), text(settings));
        QVERIFY(!SQLSettings().copy(&settings));
        QVERIFY(!SQLSettings().load(mPath));
    }

    void readsWhatAFileHolds()
    {
        // Members, the label, the password; an old file holds the password as plain text.
        const QList<QStringList> cases { { "", "FTP://???", "" }, { "<host val='h'/><psv val='0'/>", "FTP://h", "" },
            { "<protocol val='8'/><port val='2222'/>", "SFTP://???:2222", "" },
            { "<port val='123456789012345678901234567890'/>", "FTP://???", "" },
            { "<protocol val='77'/><port val='abc'/>", "Undefined protocol://???", "" },
            { "<protocol val='4'/>", "FTPS Implicit (TLS)://???", "" },
            { "<host val='a'/><host val='b'/><psv val='false'/>", "FTP://a", "" },
            { "<pwd val='plain'><val val='other'/></pwd>", "FTP://???", "plain" },
            { "<pwd><val val='plain'/></pwd>", "FTP://???", "plain" },
            { "<pwd><crypted val='1'/><val val='xyz'/></pwd>", "FTP://???", "" } };
        for (const QStringList& row : cases) {
            write("<FTPSettingsSerializable>" + row.at(0) + "</FTPSettingsSerializable>");
            FTPSettingsSerializable settings;
            QVERIFY2(settings.load(mPath), qPrintable(row.at(0)));
            QCOMPARE(QStringList({ row.at(0), settings.friendlyLabel(), settings.pwd() }), row);
        }
    }

    void refusesHostileFiles()
    {
        const QString open = "<FTPSettingsSerializable><host val='x'/>";
        const QString close = "</FTPSettingsSerializable>";
        const QString deep = open + QString("<a>").repeated(1 << 17);
        const QString bomb = "<!DOCTYPE x [<!ENTITY a 'aaaaaaaaaa'><!ENTITY b '&a;&a;&a;&a;&a;&a;'>]>";
        QString slow = "<!DOCTYPE x [<!ENTITY % a0 ''>";
        for (int i = 0; i < 30; ++i) {
            slow += QString("<!ENTITY % a%1 '&#37;a%2;&#37;a%2;'>").arg(i + 1).arg(i);
        }
        const QString outside = "<!DOCTYPE x [<!ENTITY a SYSTEM 'file:///etc/passwd'>]>";
        for (const QString& content :
            { QString(), open, deep, deep + QString("</a>").repeated(1 << 17) + close, bomb + open + "&b;" + close,
                slow + "%a30;]>" + open + close, outside + open + "<user val='&a;'/>" + close, QString("<Other/>"),
                QString("\x01\x02"), QString(2 << 20, ' ') }) {
            write(content);
            EditableSettings settings = example();
            QVERIFY(!settings.load(mPath));
            QCOMPARE(text(settings), text(example()));
        }
        QVERIFY(!EditableSettings().load("missing"));
        // Some parsers take this for the declaration of an encoding.
        write("<?xml-x encoding='UTF-7'?><FTPSettingsSerializable><host val='+AGE-'/></FTPSettingsSerializable>");
        EditableSettings settings;
        QVERIFY(settings.load(mPath));
        QCOMPARE(settings.host(), QString("+AGE-"));
        QVERIFY(FileUtils::writeFileContent(mPath, (open + close).toUtf8().replace("x", "\xe9")));
        QVERIFY(!settings.load(mPath));
    }

    void savesOnlyWhatCanBeLoaded()
    {
        QVERIFY(Nested("key", 31).save(mPath, nullptr));
        Nested loaded("key", 31);
        QVERIFY(loaded.load(mPath));
        QCOMPARE(loaded.mText, QString("written"));
        const auto refuses = [&](Serializable&& object) { return !object.save(mPath, nullptr) && loaded.load(mPath); };
        for (const char* key : { "", "1", "a b", "a:b", "a x='1'", "a/><b" }) {
            QVERIFY2(refuses(Nested(key, 2)), key);
        }
        QVERIFY(refuses(Nested("key", 32)));
        for (const QString& host : { QString(QChar(1)), QString(1 << 20, 'x') }) {
            EditableSettings settings;
            settings.setHost(host);
            QVERIFY(refuses(std::move(settings)));
        }
        QVERIFY(!example().save(mPath + "/below", nullptr));
    }

    void aFailedSaveLeavesTheFile()
    {
        QVERIFY(example().save(mPath, nullptr));
        signal(SIGXFSZ, SIG_IGN);
        rlimit room { 10, RLIM_INFINITY };
        setrlimit(RLIMIT_FSIZE, &room);
        const bool isSaved = example().save(mPath, nullptr);
        room.rlim_cur = RLIM_INFINITY;
        setrlimit(RLIMIT_FSIZE, &room);
        QVERIFY(!isSaved);
        QVERIFY(EditableSettings().load(mPath));
    }

    void describesATarget()
    {
        EditableSettings settings = example();
        EditableSettings other = example();
        other.setProtocol(FTPSettings::SFTP);
        other.setPort(0);
        QCOMPARE(other.dumpInfos(), QString("SFTP\nhost1:22"));
        bool changed = false;
        QVERIFY(settings.isEqualsPublication(&other, changed));
        QVERIFY(!changed);
        QCOMPARE(settings.signatureSettings(), other.signatureSettings());
        settings.setHost(" ho st1\t");
        settings.setFtpFolder(" a b/c");
        settings.setPublicSubFolder("/");
        QVERIFY(!settings.isEqualsPublication(&other, changed));
        QVERIFY(changed);
        settings.clean();
        QCOMPARE(text(settings), QString("FTP://host1 (Shortname passive mode)|anna|p@ss:w/rd%1 é|ab/c/|http://h//"));
        const QByteArray digest = QCryptographicHash::hash("host1_ab/c/_/anna", QCryptographicHash::Md5);
        QCOMPARE(settings.signatureSettings(), QString(digest.toBase64(QByteArray::Base64UrlEncoding)));
        SQLSettings sql;
        QCOMPARE(sql.port(), 3306);
        sql.setPort(0);
        sql.setPassword("secret");
        QVERIFY(sql.save(mPath, nullptr));
        SQLSettings loaded;
        QVERIFY(loaded.load(mPath));
        QCOMPARE(loaded.pwd() + QString::number(loaded.port()), QString("secret0"));
    }

    void validatesInOrderInTwoLanguages()
    {
        const auto fault = [](const EditableSettings& settings) {
            QString message = "untouched";
            return settings.validateSettings(message) ? message + ", valid" : message;
        };
        QStringList texts;
        for (const char* language : { "", "tavrel_en", "tavrel_fr" }) {
            QTranslator translator;
            QCOMPARE(translator.load(language, TRANSLATIONS), *language != '\0');
            QCoreApplication::installTranslator(&translator);
            texts << fault(EditableSettings()) << example().friendlyLabel();
        }
        QCOMPARE(texts,
            QStringList({ "Host is empty", "FTP://host1 (Shortname passive mode)", "Host is empty",
                "FTP://host1 (passive)", "L’hôte est vide", "FTP://host1 (passif)" }));
        EditableSettings settings = example();
        QCOMPARE(fault(settings), QString("untouched, valid"));
        settings.setPublicUrl("");
        QCOMPARE(fault(settings), QString("Public URL is empty"));
        settings.setPassword("");
        QCOMPARE(fault(settings), QString("Password is empty"));
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
        edit.setText("0");
        QVERIFY(!edit.hasAcceptableInput());
        edit.setText("65536");
        QVERIFY(edit.hasAcceptableInput());
        FTPSettings::initPwdControl(&other);
        FTPSettings::initPwdControl(&edit);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        edit.setFocus();
        QTest::keyClick(&edit, Qt::Key_P, Qt::ControlModifier | Qt::ShiftModifier | Qt::AltModifier | Qt::MetaModifier);
        QCOMPARE(edit.echoMode(), QLineEdit::Normal);
        QCOMPARE(other.echoMode(), QLineEdit::PasswordEchoOnEdit);
    }

private:
    void write(const QString& content) { QVERIFY(FileUtils::writeFileContent(mPath, content.toUtf8())); }

    const QTemporaryDir mFolder;
    const QString mPath = mFolder.filePath("settings.xml");
};

QTEST_MAIN(SettingsTest)
#include "SettingsTest.moc"
