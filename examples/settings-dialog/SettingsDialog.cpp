#include "SettingsDialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

constexpr int COMFORTABLE_WIDTH = 460;
const char* const COMPLAINT_STYLE = "color: #b3261e;";

QFormLayout* addGroup(QVBoxLayout* layout, const QString& title)
{
    auto* group = new QGroupBox(title);
    auto* form = new QFormLayout(group);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->setLabelAlignment(Qt::AlignRight);
    layout->addWidget(group);
    return form;
}

/// A settings file may come from anybody: its texts are not HTML.
QLabel* makeLabel()
{
    auto* label = new QLabel;
    label->setTextFormat(Qt::PlainText);
    return label;
}

QLabel* makeComplaint()
{
    auto* label = makeLabel();
    label->setStyleSheet(QString::fromLatin1(COMPLAINT_STYLE));
    label->hide();
    return label;
}

} // namespace

SettingsDialog::SettingsDialog(QWidget* parent)
    : QDialog(parent)
    , mLabel(makeLabel())
    , mAddress(makeLabel())
    , mStatus(makeComplaint())
    , mProtocol(new QComboBox)
    , mPassive(new QCheckBox(tr("Passive mode")))
{
    buildForm();
    buildButtons();
    display(EditableSettings());
    setMinimumWidth(COMFORTABLE_WIDTH);
}

void SettingsDialog::buildForm()
{
    auto* layout = new QVBoxLayout(this);
    QFont large = mLabel->font();
    large.setPointSizeF(large.pointSizeF() * 1.2);
    mLabel->setFont(large);
    mLabel->setWordWrap(true);
    layout->addWidget(mLabel);
    mAddress->setEnabled(false);
    layout->addWidget(mAddress);

    QFormLayout* server = addGroup(layout, tr("Server"));
    FTPSettings::fillProtocolComboBox(mProtocol, FTPSettings::currentUsedProtocols());
    mProtocol->setObjectName(QStringLiteral("protocol"));
    server->addRow(tr("Protocol"), mProtocol);
    addField(server, QStringLiteral("host"), tr("Host"), QStringLiteral("ftp.example.org"));
    FTPSettings::initPortControl(addField(server, QStringLiteral("port"), tr("Port"), QString()));
    mPassive->setObjectName(QStringLiteral("psv"));
    server->addRow(QString(), mPassive);
    addField(server, QStringLiteral("user"), tr("User"), QString());
    server->addRow(tr("Password"), withComplaint(QStringLiteral("pwd"), passwordField()));

    QFormLayout* publication = addGroup(layout, tr("Publication"));
    const auto addFolder = [&](const char* key, const QString& label, const QString& placeholder) {
        FTPSettings::initFolderControl(addField(publication, QString::fromLatin1(key), label, placeholder));
    };
    addFolder("ftp_folder", tr("Folder"), QStringLiteral("www/"));
    addField(publication, QStringLiteral("public_url"), tr("Public URL"), QStringLiteral("https://www.example.org/"));
    addFolder("public_sub_folder", tr("Sub-folder"), QStringLiteral("gallery/"));

    layout->addWidget(mStatus);
    connect(mProtocol, QOverload<int>::of(&QComboBox::currentIndexChanged), this, &SettingsDialog::refresh);
    connect(mPassive, &QCheckBox::toggled, this, &SettingsDialog::refresh);
}

QLineEdit* SettingsDialog::addField(
    QFormLayout* form, const QString& key, const QString& label, const QString& placeholder)
{
    auto* edit = new QLineEdit;
    edit->setObjectName(key);
    edit->setPlaceholderText(placeholder);
    form->addRow(label, withComplaint(key, edit));
    connect(edit, &QLineEdit::textChanged, this, &SettingsDialog::refresh);
    return edit;
}

/// Puts a place for a message below a field.
QWidget* SettingsDialog::withComplaint(const QString& key, QWidget* edit)
{
    auto* both = new QWidget;
    auto* column = new QVBoxLayout(both);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(2);
    column->addWidget(edit);
    column->addWidget(mComplaints[key] = makeComplaint());
    return both;
}

QWidget* SettingsDialog::passwordField()
{
    auto* both = new QWidget;
    auto* row = new QHBoxLayout(both);
    row->setContentsMargins(0, 0, 0, 0);
    auto* edit = new QLineEdit;
    edit->setObjectName(QStringLiteral("pwd"));
    FTPSettings::initPwdControl(edit);
    connect(edit, &QLineEdit::textChanged, this, &SettingsDialog::refresh);
    auto* reveal = new QToolButton;
    reveal->setObjectName(QStringLiteral("reveal"));
    reveal->setText(tr("Show"));
    reveal->setCheckable(true);
    connect(reveal, &QToolButton::toggled, edit,
        [edit](bool on) { edit->setEchoMode(on ? QLineEdit::Normal : QLineEdit::PasswordEchoOnEdit); });
    row->addWidget(edit);
    row->addWidget(reveal);
    return both;
}

void SettingsDialog::buildButtons()
{
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    QPushButton* open = buttons->addButton(tr("Open…"), QDialogButtonBox::ActionRole);
    QPushButton* save = buttons->addButton(tr("Save…"), QDialogButtonBox::ActionRole);
    save->setDefault(true);
    connect(open, &QPushButton::clicked, this, &SettingsDialog::chooseAndOpen);
    connect(save, &QPushButton::clicked, this, &SettingsDialog::chooseAndSave);
    connect(buttons, &QDialogButtonBox::rejected, this, &SettingsDialog::reject);
    layout()->addWidget(buttons);
}

void SettingsDialog::chooseAndOpen()
{
    const QString path = QFileDialog::getOpenFileName(this, tr("Open settings"), QString(), tr("Settings (*.xml)"));
    if (!path.isEmpty()) {
        openFile(path);
    }
}

void SettingsDialog::chooseAndSave()
{
    if (!validate(entered())) {
        return;
    }
    const QString path = QFileDialog::getSaveFileName(this, tr("Save settings"), QString(), tr("Settings (*.xml)"));
    if (!path.isEmpty()) {
        saveFile(path);
    }
}

bool SettingsDialog::openFile(const QString& path)
{
    EditableSettings settings;
    if (!settings.load(path)) {
        complain(QString(), tr("%1 holds no settings").arg(path));
        return false;
    }
    display(settings);
    return true;
}

bool SettingsDialog::saveFile(const QString& path)
{
    EditableSettings settings = entered();
    if (!validate(settings)) {
        return false;
    }
    settings.clean();
    display(settings);
    if (!settings.save(path, nullptr)) {
        complain(QString(), tr("%1 could not be written").arg(path));
        return false;
    }
    return true;
}

EditableSettings SettingsDialog::entered() const
{
    EditableSettings settings;
    settings.setProtocol(static_cast<FTPSettings::Protocol>(mProtocol->currentData().toInt()));
    settings.setHost(field("host")->text());
    const QString port = field("port")->text();
    settings.setPort(port.isEmpty() ? -1 : port.toInt());
    settings.setPassiveMode(mPassive->isChecked());
    settings.setUser(field("user")->text());
    settings.setPassword(field("pwd")->text());
    settings.setFtpFolder(field("ftp_folder")->text());
    settings.setPublicUrl(field("public_url")->text());
    settings.setPublicSubFolder(field("public_sub_folder")->text());
    return settings;
}

void SettingsDialog::display(const EditableSettings& settings)
{
    const QVariant protocol(static_cast<int>(settings.ftpProtocol()));
    if (mProtocol->findData(protocol) < 0 && settings.ftpProtocol() == FTPSettings::FTPS_IMPLICIT) {
        // A file may name the one protocol that is not offered.
        FTPSettings::fillProtocolComboBox(mProtocol, FTPSettings::FTPS_IMPLICIT);
    }
    mProtocol->setCurrentIndex(qMax(mProtocol->findData(protocol), 0));
    field("host")->setText(settings.host());
    field("port")->setText(settings.enteredPort() > 0 ? QString::number(settings.enteredPort()) : QString());
    mPassive->setChecked(settings.passiveMode());
    field("user")->setText(settings.user());
    field("pwd")->setText(settings.pwd());
    field("ftp_folder")->setText(settings.ftpFolder());
    field("public_url")->setText(settings.publicUrl());
    field("public_sub_folder")->setText(settings.publicSubFolder());
    refresh();
}

void SettingsDialog::refresh()
{
    const EditableSettings settings = entered();
    const int port = FTPSettings::defaultPort(settings.ftpProtocol());
    field("port")->setPlaceholderText(port > 0 ? QString::number(port) : tr("needed"));
    setWindowTitle(settings.friendlyLabel());
    mLabel->setText(settings.friendlyLabel());
    const QString address = settings.publicFullAdress();
    mAddress->setText(address.isEmpty() ? tr("not visible anywhere yet") : tr("visible at %1").arg(address));
    complain(QString(), QString());
}

bool SettingsDialog::validate(const EditableSettings& settings)
{
    EditableSettings cleaned = settings;
    cleaned.clean();
    QString message;
    if (cleaned.validateSettings(message)) {
        return true;
    }
    const QString fault = cleaned.host().isEmpty() ? QStringLiteral("host")
        : cleaned.user().isEmpty()                 ? QStringLiteral("user")
        : cleaned.isPwdEmpty()                     ? QStringLiteral("pwd")
                                                   : QStringLiteral("public_url");
    complain(fault, message);
    field(fault.toLatin1().constData())->setFocus();
    return false;
}

/// Shows message below the field at fault, or at the end when it is about none; hides the others.
void SettingsDialog::complain(const QString& key, const QString& message)
{
    for (auto complaint = mComplaints.cbegin(); complaint != mComplaints.cend(); ++complaint) {
        complaint.value()->setVisible(complaint.key() == key);
        complaint.value()->setText(message);
    }
    mStatus->setText(message);
    mStatus->setVisible(key.isEmpty() && !message.isEmpty());
}

QLineEdit* SettingsDialog::field(const char* key) const
{
    return findChild<QLineEdit*>(QString::fromLatin1(key));
}
