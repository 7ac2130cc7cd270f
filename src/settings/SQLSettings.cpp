#include <tavrel/SQLSettings.h>

const int SQLSettings::DEFAULT_SQL_PORT = 3306;

SQLSettings::SQLSettings()
    : Serializable(false)
{
}

int SQLSettings::port() const
{
    // Deliberate: only -1 means the default; 0 and other negative numbers are returned as they were set.
    return mPort == -1 ? DEFAULT_SQL_PORT : mPort;
}

void SQLSettings::sync()
{
    member(QStringLiteral("host"), mHost);
    member(QStringLiteral("port"), mPort);
    member(QStringLiteral("database"), mDatabase);
    member(QStringLiteral("user"), mUser);
    member(QStringLiteral("pwd"), mPassword);
}
