#include "ServerReply.h"

#include <QStringList>

namespace {

constexpr int CODE_SIZE = 3;

} // namespace

bool ServerReply::isOne(const QString& line)
{
    const auto isBetween = [&line](int index, char first, char last) {
        return line[index] >= QLatin1Char(first) && line[index] <= QLatin1Char(last);
    };
    return line.size() >= CODE_SIZE && isBetween(0, '1', '5') && isBetween(1, '0', '9') && isBetween(2, '0', '9')
        && (line.size() == CODE_SIZE || line[CODE_SIZE] == QLatin1Char(' ') || line[CODE_SIZE] == QLatin1Char('-'));
}

bool ServerReply::isAcceptance(const QString& reply)
{
    return reply[0] < QLatin1Char('4') && reply.mid(CODE_SIZE, 1) != QLatin1String("-");
}

bool ServerReply::opensDataConnection(const QString& reply)
{
    static const QStringList codes { QStringLiteral("125"), QStringLiteral("150"), QStringLiteral("227"),
        QStringLiteral("229") };
    return codes.contains(reply.left(CODE_SIZE));
}
