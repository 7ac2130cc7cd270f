#pragma once

#include <foundation/foundation_export.h>

#include <QString>

#include <typeinfo>

/// Names of types, independent of the compiler.
class FOUNDATION_EXPORT TypeUtils
{
public:
    /// The readable form of a std::type_info::name(), for example "HTTPCurl::Error".
    static QString name(const char* runtimeName);

    /// The readable name of T.
    template <class T> static QString name() { return name(typeid(T).name()); }
};
