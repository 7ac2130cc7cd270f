#pragma once

#include <QByteArray>

/// The bytes of one parameter, kept alive while libcurl holds pointers to them. A value type.
struct HttpInternalQueryMemoryParameter
{
    QByteArray key; ///< UTF-8
    QByteArray value; ///< UTF-8
};
