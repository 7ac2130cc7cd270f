#include "PathFilter.h"

namespace {

const QChar SLASH = QLatin1Char('/');

/// "**" matches any characters, a slash in front of or after it included; "*" all but slashes.
QString toPattern(const QString& glob)
{
    QString pattern;
    bool isFirst = true;
    for (const QString& part : glob.split(QStringLiteral("**"))) {
        QString piece = QRegularExpression::wildcardToRegularExpression(part);
        piece.remove(QStringLiteral("\\A"));
        piece.remove(QStringLiteral("\\z"));
        pattern += (isFirst ? QString() : QStringLiteral(".*")) + piece;
        isFirst = false;
    }
    return QRegularExpression::anchoredPattern(pattern);
}

} // namespace

std::optional<PathFilter::Rule> PathFilter::parse(QString glob)
{
    Rule rule;
    if (glob.startsWith(QLatin1Char('!'))) {
        rule.isExcluding = false;
        glob.remove(0, 1);
    }
    if (glob.endsWith(SLASH)) {
        rule.isOfFolders = true;
        glob.chop(1);
    }
    rule.isOfName = !glob.contains(SLASH);
    if (glob.startsWith(SLASH)) {
        glob.remove(0, 1);
    }
    rule.pattern.setPattern(toPattern(glob));
    rule.pattern.setPatternOptions(QRegularExpression::DotMatchesEverythingOption);
    return !glob.isEmpty() && rule.pattern.isValid() ? std::optional<Rule>(rule) : std::nullopt;
}

bool PathFilter::add(const QString& glob)
{
    const std::optional<Rule> rule = parse(glob);
    if (rule) {
        mRules.push_back(*rule);
    }
    return rule.has_value();
}

QStringList PathFilter::addLines(const QString& text)
{
    QStringList malformed;
    for (const QString& line : text.split(QLatin1Char('\n'))) {
        const QString glob = line.trimmed();
        if (!glob.isEmpty() && !glob.startsWith(QLatin1Char('#')) && !add(glob)) {
            malformed << glob;
        }
    }
    return malformed;
}

/// A glob that takes too many steps for a path excludes it: it is neither sent nor removed.
bool PathFilter::matches(const Rule& rule, const QString& text)
{
    const QRegularExpressionMatch match = rule.pattern.match(text);
    return match.hasMatch() || (!match.isValid() && rule.isExcluding);
}

bool PathFilter::excludes(const QString& path, bool isFolder) const
{
    const QString name = path.mid(path.lastIndexOf(SLASH) + 1);
    bool isExcluded = false;
    for (const Rule& rule : mRules) {
        const bool isCandidate = rule.isExcluding != isExcluded && (isFolder || !rule.isOfFolders);
        if (isCandidate && matches(rule, rule.isOfName ? name : path)) {
            isExcluded = rule.isExcluding;
        }
    }
    return isExcluded;
}

bool PathFilter::excludesWithParents(const QString& path) const
{
    for (auto slash = path.indexOf(SLASH); slash >= 0 && !mRules.empty(); slash = path.indexOf(SLASH, slash + 1)) {
        if (excludes(path.left(slash), true)) {
            return true;
        }
    }
    return excludes(path, false);
}
