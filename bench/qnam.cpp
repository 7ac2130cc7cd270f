// A download with Qt's HTTP client, as an application would write it.
//
//   bench_qnam get-file URL PATH

#include "report.h"

#include <QCoreApplication>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QStringList>
#include <QUrl>

#include <cstdio>
#include <memory>

namespace {

bool fail(const QString& reason)
{
    std::fprintf(stderr, "bench_qnam: %s\n", qPrintable(reason));
    return false;
}

bool getFile(const QString& url, const QString& path)
{
    const Moment start = momentNow();
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        return fail(file.errorString());
    }
    QNetworkAccessManager manager;
    const std::unique_ptr<QNetworkReply> reply(manager.get(QNetworkRequest(QUrl(url))));
    bool written = true;
    QObject::connect(reply.get(), &QNetworkReply::readyRead, &file, [&] {
        const QByteArray bytes = reply->readAll();
        written = file.write(bytes) == bytes.size() && written;
    });
    QObject::connect(reply.get(), &QNetworkReply::finished, qApp, &QCoreApplication::quit);
    QCoreApplication::exec();
    if (reply->error() != QNetworkReply::NoError) {
        return fail(reply->errorString());
    }
    file.close();
    if (!written || file.error() != QFileDevice::NoError) {
        return fail(file.errorString());
    }
    reportSince(start);
    return true;
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const bool known = arguments.size() == 4 && arguments.at(1) == QLatin1String("get-file");
    const bool success = known ? getFile(arguments.at(2), arguments.at(3)) : fail(QStringLiteral("get-file URL PATH"));
    return success ? 0 : 1;
}
