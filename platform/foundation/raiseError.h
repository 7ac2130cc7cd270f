#pragma once

#include <foundation/Errorable.h>

#include <QString>

/// The place that raises an error. The file is a literal; line 0 means that the place is not known.
struct ErrorSite
{
    const char* file = nullptr;
    int line = 0;

    QString location() const
    {
        if (!file || line == 0) {
            return QString();
        }
        return QStringLiteral("%1:%2").arg(QString::fromUtf8(file), QString::number(line));
    }
};

/// raiseError() for a value that is no enumerator of E.
template <class E>
void raiseErrorValue(Errorable& target, int value, const char* name, ErrorSite site, const QString& message = QString())
{
    const QString type = TypeUtils::name<E>();
    target._setError(ErrorableCode(type, value, {}, site.location(), QString::fromUtf8(name)));
    if (!message.isEmpty()) {
        Errorable::sErrorMessages.insert(ErrorableCode(type, value), message);
    }
}

/**
 * Makes value the current error of target.
 *
 * A non-empty message is registered for all errors of this type and value, replacing an earlier one.
 */
template <class E>
void raiseError(Errorable& target, E value, const char* name, ErrorSite site, const QString& message = QString())
{
    raiseErrorValue<E>(target, static_cast<int>(value), name, site, message);
}
