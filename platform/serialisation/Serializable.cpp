#include "Serializable.h"

#include <foundation/FileUtils.h>
#include <foundation/TypeUtils.h>

#include <QDomDocument>
#include <QFile>
#include <QRegularExpression>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

namespace {

constexpr qint64 LARGEST_FILE = 1024LL * 1024;
constexpr int DEEPEST_NESTING = 32;

/// Whether bytes are XML that is safe to make a tree of: the tree is walked recursively, and its entities expanded.
bool isHarmless(const QByteArray& xml)
{
    QXmlStreamReader reader(xml);
    int depth = 0;
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::StartElement:
            ++depth;
            break;
        case QXmlStreamReader::EndElement:
            --depth;
            break;
        case QXmlStreamReader::DTD:
            return false;
        default:
            break;
        }
        if (depth > DEEPEST_NESTING) {
            return false;
        }
    }
    return !reader.hasError();
}

} // namespace

Serializable::Serializable(bool polyUse)
    : mPolyUse(polyUse)
{
}

bool Serializable::save(const QString& path, Serializable* object)
{
    const QByteArray xml = (object ? object : this)->toXml();
    return !xml.isEmpty() && FileUtils::writePrivateFile(path, xml);
}

bool Serializable::load(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.size() <= LARGEST_FILE && fromXml(file.read(LARGEST_FILE));
}

bool Serializable::copy(const Serializable* other)
{
    // Writing changes nothing in the object that is written.
    return fromXml(const_cast<Serializable*>(other)->toXml()); // NOLINT(cppcoreguidelines-pro-type-const-cast)
}

QByteArray Serializable::toXml()
{
    QByteArray xml;
    QXmlStreamWriter writer(&xml);
    writer.setAutoFormatting(true);
    writer.writeStartDocument();
    writer.writeStartElement(className());
    SContext context(writer);
    syncWith(context);
    writer.writeEndDocument();
    return writer.hasError() ? QByteArray() : xml;
}

bool Serializable::fromXml(const QByteArray& xml)
{
    QDomDocument document;
    if (!isHarmless(xml) || !document.setContent(xml) || document.documentElement().tagName() != className()) {
        return false;
    }
    SContext context(document.documentElement());
    syncWith(context);
    return true;
}

void Serializable::syncWith(SContext& context)
{
    mContext = &context;
    sync();
    mContext = nullptr;
}

bool Serializable::isReadingMode() const
{
    return mContext && mContext->mode() == SContext::Reading;
}

bool Serializable::isWritingMode() const
{
    return mContext && mContext->mode() == SContext::Writing;
}

QString Serializable::className() const
{
    // An element's name knows neither "::" nor the parentheses of an unnamed namespace.
    static const QRegularExpression notInNames(QStringLiteral("[^A-Za-z0-9_.-]+"));
    return TypeUtils::name(typeid(*this).name()).replace(notInNames, QStringLiteral("_"));
}

QString Serializable::classNameForInstMap() const
{
    return className();
}

QString Serializable::classNameLowLevel()
{
    return className();
}
