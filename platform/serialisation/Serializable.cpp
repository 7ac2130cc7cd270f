#include "Serializable.h"

#include <foundation/FileUtils.h>
#include <foundation/TypeUtils.h>

#include <QDomDocument>
#include <QFile>
#include <QRegularExpression>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

namespace {

constexpr qint64 MAX_FILE_BYTES = 1024LL * 1024;
constexpr int MAX_NESTING = 32;

/// The text of a file; empty if it is not UTF-8. The parsers of Qt do not agree on the encoding of bytes.
QString textOf(QByteArray xml)
{
    static const QByteArray byteOrderMark = "\xef\xbb\xbf";
    if (xml.startsWith(byteOrderMark)) {
        xml.remove(0, byteOrderMark.size());
    }
    const QString text = QString::fromUtf8(xml.constData(), xml.size());
    return text.toUtf8() == xml ? text : QString();
}

/// Whether it is safe to build a tree from the XML: the tree is walked recursively.
bool isSafe(const QString& xml)
{
    // Deliberate: not even within a comment. The entities of a document type may take for ever to be parsed.
    if (xml.contains(QLatin1String("<!DOCTYPE"))) {
        return false;
    }
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
        default:
            break;
        }
        if (depth > MAX_NESTING) {
            return false;
        }
    }
    return !reader.hasError();
}

/// Parses the file of a class; false for any other bytes.
bool parse(const QByteArray& xml, const QString& className, QDomDocument& document)
{
    const QString text = textOf(xml);
    return isSafe(text) && document.setContent(text) && document.documentElement().tagName() == className;
}

} // namespace

Serializable::Serializable(bool polyUse)
    : mPolyUse(polyUse)
{
}

Serializable::Serializable(const Serializable& other)
    : mPolyUse(other.mPolyUse)
{
}

Serializable& Serializable::operator=(const Serializable& other) // NOLINT(bugprone-unhandled-self-assignment)
{
    mPolyUse = other.mPolyUse;
    return *this;
}

bool Serializable::save(const QString& path, Serializable* object)
{
    Serializable& source = object ? *object : *this;
    const QByteArray xml = source.toXml();
    QDomDocument document;
    // A file that load() would refuse must not replace a valid one.
    return xml.size() <= MAX_FILE_BYTES && parse(xml, source.className(), document)
        && FileUtils::writePrivateFile(path, xml);
}

bool Serializable::load(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && file.size() <= MAX_FILE_BYTES && fromXml(file.read(MAX_FILE_BYTES));
}

bool Serializable::copy(const Serializable* other)
{
    // Writing does not change the object.
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
    if (!parse(xml, className(), document)) {
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
    // The name of an element cannot contain "::" or the parentheses of an unnamed namespace.
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
