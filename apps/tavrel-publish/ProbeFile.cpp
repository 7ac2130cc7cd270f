#include "ProbeFile.h"

#include "Advice.h"
#include "Steps.h"

#include <tavrel/FTPCurl.h>

#include <QRandomGenerator>

namespace {

constexpr int HEX = 16;
const QByteArray FIRST = QByteArrayLiteral("tavrel-publish --doctor\n");
const QByteArray SECOND = QByteArrayLiteral("TAVREL-PUBLISH --DOCTOR\n");

} // namespace

ProbeFile::ProbeFile(FTPCurl& client, Steps& steps)
    : mClient(client)
    , mSteps(steps)
    , mName(QStringLiteral(".tavrel-doctor-") + QString::number(QRandomGenerator::system()->generate64(), HEX))
    , mOther(mName + QStringLiteral(".1"))
{
}

void ProbeFile::run()
{
    if (write()) {
        overwrite();
        rename();
        remove();
    }
}

bool ProbeFile::write()
{
    if (mClient.putData(FIRST, mName, false)) {
        return mSteps.works("write");
    }
    mSteps.fails("write", Advice::forWriting(mClient));
    tryRemove(mName); // A part of it may have arrived.
    return false;
}

void ProbeFile::overwrite()
{
    const bool isOverwritten = mClient.putData(SECOND, mName, false);
    if (isOverwritten) {
        mSteps.works("overwrite");
    } else {
        mSteps.fails("overwrite", QStringLiteral("Ask the operator of the server to allow files to be overwritten."));
    }
    read(isOverwritten ? SECOND : FIRST);
}

void ProbeFile::read(const QByteArray& written)
{
    const char* const name = "read back";
    QByteArray content;
    if (!mClient.getData(mName, content)) {
        mSteps.fails(name,
            QStringLiteral("Ask the operator of the server to allow downloads: the record of what was sent is read "
                           "back by each publication."));
    } else if (content == written) {
        mSteps.works(name);
    } else {
        tryRemove(mOther);
        mSteps.fails(name, QStringLiteral("Ask the operator of the server why it changes files."),
            QStringLiteral("the file on the server is not the one that was sent"));
    }
}

void ProbeFile::rename()
{
    const QString renamed = mName + QStringLiteral("-renamed");
    if (mClient.rename(mName, renamed)) {
        mName = renamed;
        mSteps.works("rename");
    } else {
        mSteps.fails("rename", QStringLiteral("Publish without --temporary-names."));
    }
}

bool ProbeFile::remove()
{
    if (tryRemove(mName)) {
        return mSteps.works("remove");
    }
    mSteps.fails("remove", QStringLiteral("Publish without --delete."));
    mSteps.remark(QStringLiteral("%1 may be left on the server").arg(mName));
    return false;
}

bool ProbeFile::tryRemove(const QString& name)
{
    return mClient.removeSimpleResource(mClient.canonicalizedFilePath(name), false);
}
