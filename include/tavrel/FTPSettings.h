#pragma once

#include <tavrel/EncryptedPassword.h>
#include <tavrel/tavrel_export.h>

#include <QFlags>
#include <QString>

class QComboBox;
class QLineEdit;

/**
 * A target of publication: how to reach a server over FTP, FTPS or SFTP, where to put the files, and under which URL
 * they are then visible.
 *
 * It has no setters: FTPSettingsSerializable fills it from a file, and an application through a class derived from
 * that. A value type; distinct objects may be used by distinct threads. The functions that take widgets run on the GUI
 * thread.
 */
// Deliberate: a value type whose destructor is not virtual; nobody owns one through this class.
class TAVREL_EXPORT FTPSettings // NOLINT(cppcoreguidelines-virtual-class-destructor)
{
public:
    /// The numbers are those of saved files.
    enum Protocol : int {
        FTP = 1,
        FTPS_EXPLICIT = 2,
        FTPS_IMPLICIT = 4,
        SFTP = 8,
    };
    Q_DECLARE_FLAGS(Protocols, Protocol)

    /// For people: "FTP", "FTPS Explicit (TLS)", "FTPS Implicit (TLS)", "SFTP".
    static QString ftpProtocolToString(Protocol protocol);
    /// 21 for FTP and FTPS_EXPLICIT, 22 for SFTP, else -1. Implicit FTPS has none.
    static int defaultPort(Protocol protocol);
    /// What a dialog offers: all but FTPS_IMPLICIT.
    static QFlags<Protocol> currentUsedProtocols();

    /// Appends the protocols to a box, with their number as the item's data.
    static void fillProtocolComboBox(QComboBox* box, QFlags<Protocol> protocols);
    /// Hides the typed text. Ctrl+Shift+Alt+Meta+P, while the edit has the focus, shows it from then on.
    static void initPwdControl(QLineEdit* edit);
    /// Accepts numbers from 1 to 65536.
    static void initPortControl(QLineEdit* edit);
    /// Does nothing yet; call it for the fields of folders.
    static void initFolderControl(QLineEdit* edit);

    FTPSettings();

    Protocol ftpProtocol() const { return mProtocol; }
    const QString& host() const { return mHost; }
    /// The port, or the protocol's default (which may be -1) while it is below 1.
    int port() const;
    bool passiveMode() const { return mPassiveMode; }
    const QString& user() const { return mUser; }
    /// The plain password.
    QString pwd() const { return mPassword.value(); }
    /// See EncryptedPassword::isEmpty(): false after loading a saved password, even an empty one. pwd().isEmpty()
    /// tells.
    virtual bool isPwdEmpty() const;

    /// These are normalised by cleanFolderFormat().
    QString publicUrl() const;
    QString publicSubFolder() const;
    QString ftpFolder() const;
    /// publicUrl() and publicSubFolder().
    QString publicFullAdress() const;

    /// Without blanks, and with a slash at the end unless it is empty.
    static QString cleanFolderFormat(const QString& folder);
    /// Normalises host, user, folders and URL in place.
    void clean();

    /// False when host, user, password or public URL is empty, with a translated reason in message; else message stays
    /// as it is. The fields are judged as they stand; call clean() before.
    bool validateSettings(QString& message) const;
    /// One line for people, such as "FTP://host:2121 (passive)".
    QString friendlyLabel() const;
    /// The protocol, and host and port in a second line; for logs.
    QString dumpInfos();
    /// Identifies the target, by host, folders and user: 24 characters.
    QString signatureSettings() const;
    /// Whether both publish to the same place: host, user and folders. Sets changed when they do not.
    bool isEqualsPublication(const FTPSettings* other, bool& changed) const;

protected:
    EncryptedPassword mPassword;
    Protocol mProtocol = FTP;
    QString mHost;
    int mPort = -1;
    bool mPassiveMode = true;
    QString mUser;
    QString mPublicUrl;
    QString mPublicSubFolder;
    QString mFtpFolder;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(FTPSettings::Protocols)
