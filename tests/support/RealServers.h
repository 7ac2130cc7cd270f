#pragma once

#include <QMap>
#include <QString>
#include <QTemporaryDir>

/// nginx and PHP on loopback, in a throw-away folder, until the object is destroyed.
class RealServers
{
public:
    RealServers();
    ~RealServers();

    QString http(const QString& path) const
    {
        return url(QStringLiteral("http"), QStringLiteral("HTTP_PORT"), path);
    }
    QString https(const QString& path) const
    {
        return url(QStringLiteral("https"), QStringLiteral("HTTPS_PORT"), path);
    }
    QString php() const
    {
        return url(QStringLiteral("http"), QStringLiteral("PHP_PORT"), QStringLiteral("/"));
    }
    /// The folder that nginx serves.
    QString root() const { return mFolder.filePath(QStringLiteral("www")); }

private:
    void run(const QStringList& arguments);
    QString url(const QString& scheme, const QString& port, const QString& path) const;

    QTemporaryDir mFolder;
    QMap<QString, QString> mPorts;
};
