#include <tavrel/FTPSettings.h>

#include <QComboBox>
#include <QIntValidator>
#include <QLineEdit>
#include <QPointer>
#include <QShortcut>

namespace {

constexpr int MIN_PORT = 1;
constexpr int MAX_PORT = 65536; // Deliberate: one past the largest port, as existing dialogs accept it.

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
    auto* shortcut = new QShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::ALT | Qt::META | Qt::Key_P), edit);
    // Deliberate: with the context of a window, the shortcuts of two such fields would be ambiguous, and neither would
    // work.
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
    edit->setValidator(new QIntValidator(MIN_PORT, MAX_PORT, edit));
}

void FTPSettings::initFolderControl(QLineEdit* /*edit*/) { }
