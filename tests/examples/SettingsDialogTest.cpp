#include <SettingsDialog.h>

#include <foundation/FileUtils.h>

#include <QtTest>
#include <QtWidgets>

class SettingsDialogTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void savesWhatIsTypedAndShowsItAgain()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath("settings.xml");
        SettingsDialog dialog;
        dialog.show();
        const auto edit = [&dialog](const char* field) { return dialog.findChild<QLineEdit*>(field); };
        const auto type = [&edit](const char* field, const char* text) { QTest::keyClicks(edit(field), text); };
        const auto complaints = [&dialog] {
            QString texts;
            for (const QLabel* label : dialog.findChildren<QLabel*>()) {
                texts += label->isVisible() && !label->styleSheet().isEmpty() ? label->text() : "";
            }
            return texts;
        };
        QCOMPARE(edit("port")->placeholderText(), QString("21"));
        QVERIFY(!dialog.saveFile(path));
        QCOMPARE(complaints(), QString("Host is empty"));
        type("host", "sftp.example.org ");
        QCOMPARE(complaints(), QString());
        type("user", "anna");
        QVERIFY(!dialog.saveFile(path));
        QVERIFY(!QFile::exists(path));
        QCOMPARE(complaints(), QString("Password is empty"));
        type("pwd", "secret");
        type("port", "2222x");
        type("ftp_folder", "www");
        type("public_url", "https://www.example.org");
        dialog.findChild<QComboBox*>("protocol")->setCurrentText("SFTP");
        QCOMPARE(edit("port")->placeholderText(), QString("22"));
        QTest::mouseClick(dialog.findChild<QToolButton*>("reveal"), Qt::LeftButton);
        QCOMPARE(edit("pwd")->echoMode(), QLineEdit::Normal);
        QVERIFY(dialog.saveFile(path));
        SettingsDialog again;
        QVERIFY(again.openFile(path));
        QVERIFY(!again.openFile(folder.path()));
        QCOMPARE(again.windowTitle(), QString("SFTP://sftp.example.org:2222 (Shortname passive mode)"));
        for (const char* field : { "host", "port", "user", "pwd", "ftp_folder", "public_url", "public_sub_folder" }) {
            QCOMPARE(again.findChild<QLineEdit*>(field)->text(), edit(field)->text());
        }
        // Two protocols at once are none, and are not added to those that are offered.
        QVERIFY(FileUtils::writeFileContent(
            path, "<FTPSettingsSerializable><protocol val='9'/></FTPSettingsSerializable>"));
        QVERIFY(again.openFile(path));
        QCOMPARE(again.findChild<QComboBox*>("protocol")->count(), 3);
    }
};

QTEST_MAIN(SettingsDialogTest)
#include "SettingsDialogTest.moc"
