#pragma once

#include <tavrel/tavrel_export.h>

#include <QSharedDataPointer>
#include <QString>
#include <QStringList>

/**
 * Which servers a client accepts: by the authority or the public key of a TLS certificate, by the host key over SSH.
 *
 * PeerTrust() trusts anyone, which is the default of every client. With any other trust a server is accepted before
 * user, password, path or data are sent, or the request fails with libcurl's code (60 for a certificate or a host key,
 * 90 for a public key, 77 for a file of authorities that cannot be read) and a message with the expected and the shown
 * key. A protocol for which a trust says nothing is refused: HTTPS and FTPS need authorities or a
 * public key, SFTP needs known hosts, and HTTP and FTP cannot be verified.
 *
 * A setter that refuses its argument returns false, and from then on isValid() is false and no client accepts the
 * trust. A value class: a client keeps a copy. Reentrant.
 */
class TAVREL_EXPORT PeerTrust
{
public:
    /// Whose signature on a certificate counts.
    enum Authorities {
        System, ///< those that libcurl was built to use, such as /etc/ssl/certs
        File, ///< those in a PEM file, and no other; a certificate in it is accepted itself, too
    };
    /// The treatment of hosts that the file does not have.
    enum UnknownHosts {
        RefuseUnknown, ///< only hosts of the file
        AcceptNew, ///< and hosts that the file does not have, which are appended to it
    };

    /// Trusts anyone.
    PeerTrust();
    /// Copies share their data until one is changed.
    ///@{
    PeerTrust(const PeerTrust& other);
    PeerTrust& operator=(const PeerTrust& other);
    ///@}
    ~PeerTrust();

    /// TLS: the certificate must be valid, be for the host, and lead to an authority. path is for File only.
    bool setCertificateAuthorities(Authorities authorities, const QString& path = QString());
    /// TLS: the certificate must be for the host and have this public key; without authorities it may be signed by
    /// anyone. A pin is "sha256//" and the base64 of the SHA-256 of the key's DER form (SubjectPublicKeyInfo);
    /// FTPCurl::peerFingerprint() shows it. Several pins, of several calls or separated by ";", are alternatives.
    bool pinPublicKey(const QString& pin);
    /// SSH: the host key must be in a file of OpenSSH's format, such as ~/.ssh/known_hosts, with "[host]:port" for
    /// other ports than 22. Hashed names, patterns and "@revoked" are understood; certificates of hosts are not. A host
    /// with another key than in the file is refused, also with AcceptNew. AcceptNew creates a file that only its owner
    /// may read, and refuses a host that cannot be appended.
    bool setKnownHosts(const QString& path, UnknownHosts unknownHosts = RefuseUnknown);

    /// True for PeerTrust().
    bool trustsAnyone() const;
    /// False when a setter has refused its argument; fault() tells which one.
    bool isValid() const;
    QString fault() const; ///< For people; empty while isValid().

    bool hasAuthorities() const; ///< Whether authorities were set.
    /// The file of the authorities; empty for the system's authorities.
    QString authoritiesFile() const;
    QStringList publicKeys() const; ///< The pins, one each; empty when none were set.
    /// Empty when none were set.
    QString knownHostsFile() const;
    UnknownHosts unknownHosts() const; ///< See setKnownHosts().

private:
    struct Data;

    bool refuse(const QString& fault);

    QSharedDataPointer<Data> mData;
};
