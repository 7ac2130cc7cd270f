#pragma once

#include <QByteArray>
#include <QString>

class FTPCurl;
class Steps;

/// A small file of an unpredictable name in the site's folder, which shows what the account may do there.
class ProbeFile
{
public:
    ProbeFile(FTPCurl& client, Steps& steps);

    /// Writes, overwrites, reads, renames and removes the file, which does not stay after a failure either.
    void run();

private:
    bool write();
    void overwrite();
    void read(const QByteArray& written);
    void rename();
    bool remove();
    bool tryRemove(const QString& name);

    FTPCurl& mClient;
    Steps& mSteps;
    QString mName;
    QString mOther; ///< that a server may have given the second version
};
