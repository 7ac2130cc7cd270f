#include "TypeUtils.h"

#if defined(__GNUG__)
#include <cstdlib>
#include <cxxabi.h>
#include <memory>
#else
#include <QRegularExpression>
#endif

namespace {

QString demangled(const char* runtimeName)
{
#if defined(__GNUG__)
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> text(
        abi::__cxa_demangle(runtimeName, nullptr, nullptr, &status), &std::free);
    if (status == 0 && text) {
        return QString::fromUtf8(text.get());
    }
    return QString::fromUtf8(runtimeName);
#else
    return QString::fromUtf8(runtimeName).remove(QRegularExpression(QStringLiteral("\\b(class|struct) ")));
#endif
}

} // namespace

QString TypeUtils::name(const char* runtimeName)
{
    // Some compilers put the keyword in front of the name of a type.
    return demangled(runtimeName).remove(QStringLiteral("enum "));
}
