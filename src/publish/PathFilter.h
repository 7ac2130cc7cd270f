#pragma once

#include <QRegularExpression>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

/// Which paths of a folder are not published, by globs; the last one that matches decides.
class PathFilter
{
public:
    /// False for a malformed glob, which is not added.
    bool add(const QString& glob);
    /// The lines of a file of globs; returns those that are malformed.
    QStringList addLines(const QString& text);

    /// path has no slash at its end.
    bool excludes(const QString& path, bool isFolder) const;
    /// Whether the path or a folder above it is excluded.
    bool excludesWithParents(const QString& path) const;

private:
    struct Rule
    {
        QRegularExpression pattern;
        bool isOfName = true; ///< compared with the last component only
        bool isOfFolders = false;
        bool isExcluding = true;
    };

    static std::optional<Rule> parse(QString glob);
    static bool matches(const Rule& rule, const QString& text);

    std::vector<Rule> mRules;
};
