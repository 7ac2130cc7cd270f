#pragma once

#include <tavrel/EncryptedPassword.h>
#include <tavrel/tavrel_export.h>

#include <serialisation/Serializable.h>

/// How to reach an SQL database server. A value type; see Serializable for saving and loading.
class TAVREL_EXPORT SQLSettings : public Serializable
{
public:
    static const int DEFAULT_SQL_PORT; ///< 3306

    SQLSettings();

    /// The fields, as they were set or loaded.
    ///@{
    const QString& host() const { return mHost; }
    /// DEFAULT_SQL_PORT if the port is exactly -1; any other number as it was set.
    int port() const;
    const QString& database() const { return mDatabase; }
    const QString& user() const { return mUser; }
    ///@}
    /// The password in plaintext.
    QString pwd() const { return mPassword.value(); }

    /// Sets a field; any value is accepted.
    ///@{
    void setHost(const QString& host) { mHost = host; }
    void setPort(int port) { mPort = port; }
    void setDatabaseName(const QString& name) { mDatabase = name; }
    void setUser(const QString& user) { mUser = user; }
    void setPassword(const QString& plain) { mPassword.setValue(plain); }
    ///@}

    void sync() override;

private:
    QString mHost;
    int mPort = -1;
    QString mDatabase;
    QString mUser;
    EncryptedPassword mPassword;
};
