#include "FTPCurlPrivate.h"

bool FTPCurl::setTrust(const PeerTrust& trust)
{
    if (!mPrivate->checkIdle()) {
        return false;
    }
    close();
    mPrivate->session.close(); // one that an interrupted initHost() has left
    mPrivate->session.peerCheck().setTrust(trust);
    return trust.isValid() || mPrivate->refuse(trust.fault(), __LINE__);
}

QString FTPCurl::peerFingerprint() const
{
    return mPrivate->session.peerCheck().fingerprint();
}

bool FTPCurl::Private::checkTrust(FTPSettings::Protocol protocol)
{
    const PeerCheck& check = session.peerCheck();
    QString fault;
    switch (protocol) {
    case FTPSettings::FTPS_EXPLICIT:
    case FTPSettings::FTPS_IMPLICIT:
        fault = check.faultForTls();
        break;
    case FTPSettings::SFTP:
        fault = check.faultForSsh();
        break;
    default:
        fault = check.faultForPlaintext();
    }
    return fault.isEmpty() || refuse(QStringLiteral("initHost: ") + fault, __LINE__);
}
