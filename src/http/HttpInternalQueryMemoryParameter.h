#pragma once

#include <QByteArray>

/// The bytes of one parameter, which must stay valid while libcurl has pointers to them. A value type.
struct HttpInternalQueryMemoryParameter
{
    QByteArray key; ///< UTF-8
    QByteArray value; ///< UTF-8
};
