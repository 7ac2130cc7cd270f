#pragma once

#include <tavrel/EncryptedPassword.h>
#include <tavrel/tavrel_export.h>

#include <QFlags>
#include <QString>

class QComboBox;
class QLineEdit;

/**
 * A publication target: how to connect to a server over FTP, FTPS or SFTP, where to upload files, and the URL at which
 * they are published.
 *
 * There are no setters: FTPSettingsSerializable loads the fields from a file, and an application sets them in a class
 * derived from that. A value type; different objects may be used by different threads. The functions that take widgets
 * run on the GUI thread.
 */
// Deliberate: a value type without a virtual destructor; it is never deleted through a pointer to this class.
class TAVREL_EXPORT FTPSettings // NOLINT(cppcoreguidelines-virtual-class-destructor)
{
public:
    /// The numbers are stored in files.
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
    /// The protocols that a dialog offers: all but FTPS_IMPLICIT.
    static QFlags<Protocol> currentUsedProtocols();

    /// Appends the protocols to a box, with the number as the data of an item.
    static void fillProtocolComboBox(QComboBox* box, QFlags<Protocol> protocols);
    /// Hides the typed text. Ctrl+Shift+Alt+Meta+P, while the edit has the focus, shows it from then on.
    static void initPwdControl(QLineEdit* edit);
    /// Sets a validator for 1 to 65536.
    static void initPortControl(QLineEdit* edit);
    /// Does nothing yet; call it for the fields of folders.
    static void initFolderControl(QLineEdit* edit);

    FTPSettings();

    /// The fields of the target, as they were set or loaded.
    ///@{
    Protocol ftpProtocol() const { return mProtocol; }
    const QString& host() const { return mHost; }
    bool passiveMode() const { return mPassiveMode; }
    const QString& user() const { return mUser; }
    ///@}
    /// The port or, if it is below 1, the protocol's default, which may be -1.
    int port() const;
    /// The password in plaintext.
    QString pwd() const { return mPassword.value(); }
    /// EncryptedPassword::isEmpty(): false after loading a saved password, even an empty one; see pwd().
    virtual bool isPwdEmpty() const;

    /// The following are normalized by cleanFolderFormat().
    ///@{
    QString publicUrl() const;
    QString publicSubFolder() const;
    QString ftpFolder() const;
    ///@}
    /// publicUrl() and publicSubFolder().
    QString publicFullAdress() const;

    /// Removes blanks, and appends a slash unless the result is empty or ends in one.
    static QString cleanFolderFormat(const QString& folder);
    /// Normalizes host, user, folders and URL in place.
    void clean();

    /// False if host, user, password or public URL is empty, with a translated reason in message, which is otherwise
    /// unchanged. The fields are not normalized; call clean() before.
    bool validateSettings(QString& message) const;
    /// One line for people, such as "FTP://host:2121 (passive)". Without the library's translation, the end is
    /// "(Shortname passive mode)".
    QString friendlyLabel() const;
    /// The protocol, and host and port in a second line; for logs.
    QString dumpInfos();
    /// Identifies the target, by host, folders and user: 24 characters.
    QString signatureSettings() const;
    /// Whether both publish to the same place: host, user and folders. Sets changed if they do not.
    bool isEqualsPublication(const FTPSettings* other, bool& changed) const;

protected:
    /// The fields as they are saved; see the functions of their names.
    ///@{
    EncryptedPassword mPassword;
    Protocol mProtocol = FTP;
    QString mHost;
    int mPort = -1;
    bool mPassiveMode = true;
    QString mUser;
    QString mPublicUrl;
    QString mPublicSubFolder;
    QString mFtpFolder;
    ///@}
};

Q_DECLARE_OPERATORS_FOR_FLAGS(FTPSettings::Protocols)
