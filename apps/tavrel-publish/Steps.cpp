#include "Steps.h"

#include "Events.h"

#include <tavrel/FTPCurl.h>

#include <algorithm>

namespace {

constexpr int MAX_QUOTED = 300;

bool isInvisible(QChar character)
{
    return character.category() == QChar::Other_Control || character.category() == QChar::Other_Format;
}

} // namespace

Steps::Steps(FTPCurl& client, Report& report)
    : mClient(client)
    , mReport(report)
{
}

bool Steps::works(const char* name, const QString& detail)
{
    mReport.print(Events::step(QString::fromLatin1(name), true, detail.simplified(), QString()));
    return true;
}

bool Steps::fails(const char* name, const QString& advice, const QString& detail)
{
    if (goesOn()) {
        const QString told = detail.isEmpty() ? reason() : detail;
        mReport.countFailure(QString::fromLatin1(name), told);
        mReport.print(Events::step(QString::fromLatin1(name), false, told, advice));
    }
    return false;
}

void Steps::remark(const QString& text)
{
    mReport.remark(text);
}

QString Steps::quoted(const QString& text)
{
    QString shown = text.simplified().left(MAX_QUOTED);
    std::replace_if(shown.begin(), shown.end(), isInvisible, QLatin1Char('?'));
    shown.replace(QLatin1Char('"'), QLatin1Char('\''));
    return QLatin1Char('"') + shown + QLatin1Char('"');
}

QString Steps::reason() const
{
    const QString reply = mClient.serverReply();
    const bool isRefusal = reply.startsWith(QLatin1Char('4')) || reply.startsWith(QLatin1Char('5'));
    return isRefusal ? QStringLiteral("the server replied ") + quoted(reply) : Report::reasonOf(mClient);
}
