#pragma once

#include <QDateTime>
#include <QTimeZone>

/// The argument for UTC of QDateTime's functions. Qt 6.5 has a second form, and newer versions deprecate Qt::UTC. It is
/// not QTimeZone::utc(), with which times are printed with "+00:00" in place of "Z".
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
constexpr QTimeZone::Initialization UTC = QTimeZone::UTC;
#else
constexpr Qt::TimeSpec UTC = Qt::UTC;
#endif
