#include "FTPCurlPrivate.h"

namespace {

constexpr int MAX_STALL_SECONDS = 24 * 60 * 60;

} // namespace

FTPOptions::FTPOptions(FTPCurl& client)
    : mPrivate(new Private(client))
{
}

FTPOptions::~FTPOptions() = default;

int FTPOptions::filePermissions() const
{
    return mPrivate->filePermissions;
}

void FTPOptions::setFilePermissions(int permissions)
{
    mPrivate->filePermissions = permissions;
}

int FTPOptions::folderPermissions() const
{
    return mPrivate->folderPermissions;
}

void FTPOptions::setFolderPermissions(int permissions)
{
    mPrivate->folderPermissions = permissions;
}

bool FTPOptions::setStallTimeOut(int seconds)
{
    if (!mPrivate->checkIdle()) {
        return false;
    }
    if (seconds < 0 || seconds > MAX_STALL_SECONDS) {
        return mPrivate->refuse(
            QStringLiteral("setStallTimeOut: %1 is not between 0 and %2").arg(seconds).arg(MAX_STALL_SECONDS),
            __LINE__);
    }
    mPrivate->stallTimeOut = seconds;
    mPrivate->session.setStallTimeOut(seconds);
    return true;
}

int FTPOptions::stallTimeOut() const
{
    return mPrivate->stallTimeOut;
}

bool FTPOptions::setUploadMode(UploadMode mode)
{
    if (mode != InPlace && mode != TemporaryName) {
        return mPrivate->refuse(QStringLiteral("setUploadMode: %1 is no mode").arg(mode), __LINE__);
    }
    mPrivate->uploadMode = mode;
    return true;
}

FTPOptions::UploadMode FTPOptions::uploadMode() const
{
    return mPrivate->uploadMode;
}

void FTPOptions::setVerifyUploads(bool verify)
{
    mPrivate->verifyUploads = verify;
}

bool FTPOptions::verifiesUploads() const
{
    return mPrivate->verifyUploads;
}

void FTPOptions::setKeepModificationTime(bool keep)
{
    mPrivate->keepModificationTime = keep;
}

bool FTPOptions::keepsModificationTime() const
{
    return mPrivate->keepModificationTime;
}

bool FTPOptions::setNameEncoding(NameEncoding encoding)
{
    if (encoding != Latin1 && encoding != Utf8) {
        return mPrivate->refuse(QStringLiteral("setNameEncoding: %1 is no encoding").arg(encoding), __LINE__);
    }
    mPrivate->nameEncoding = encoding;
    return true;
}

FTPOptions::NameEncoding FTPOptions::nameEncoding() const
{
    return mPrivate->nameEncoding;
}

bool FTPOptions::setSshKey(const QString& privateKey, const QString& publicKey, const QString& passphrase)
{
    const QString fault = mPrivate->session.sshLogin().setKey(privateKey, publicKey, passphrase);
    return fault.isEmpty() || mPrivate->refuse(QStringLiteral("setSshKey: ") + fault, __LINE__);
}

void FTPOptions::clearSshKey()
{
    mPrivate->session.sshLogin().clearKey();
}

void FTPOptions::setUseSshAgent(bool use)
{
    mPrivate->session.sshLogin().setUseAgent(use);
}

bool FTPOptions::usesSshAgent() const
{
    return mPrivate->session.sshLogin().usesAgent();
}
