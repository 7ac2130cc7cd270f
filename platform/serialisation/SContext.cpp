#include "SContext.h"

#include "Serializable.h"

#include <QRegularExpression>
#include <QVariant>
#include <QXmlStreamWriter>

#include <utility>

namespace {

const QString VALUE = QStringLiteral("val");
const QString TRUE_TEXT = QStringLiteral("true");
const QString FALSE_TEXT = QStringLiteral("false");

/// The key if it is an XML name, else an empty text. An element without a name makes the XML invalid, so Serializable
/// does not save it; the key itself could make valid XML with other elements.
QString elementName(const QString& key)
{
    static const QRegularExpression names(
        QRegularExpression::anchoredPattern(QStringLiteral("[\\p{L}_][\\p{L}\\p{N}_.-]*")));
    return names.match(key).hasMatch() ? key : QString();
}

} // namespace

SContext::SContext(QXmlStreamWriter& writer)
    : mMode(Writing)
    , mWriter(&writer)
{
}

SContext::SContext(const QDomElement& element)
    : mMode(Reading)
    , mElement(element)
{
}

void SContext::member(const QString& key, Serializable* object)
{
    if (mMode == Writing) {
        mWriter->writeStartElement(elementName(key));
        object->syncWith(*this);
        mWriter->writeEndElement();
        return;
    }
    const QDomElement child = mElement.firstChildElement(key);
    if (!child.isNull()) {
        const QDomElement outer = std::exchange(mElement, child);
        object->syncWith(*this);
        mElement = outer;
    }
}

template <class Convert> void SContext::scalar(const QString& key, const Convert& convert)
{
    QString text;
    if (mMode == Writing) {
        convert(text);
        mWriter->writeStartElement(elementName(key));
        mWriter->writeAttribute(VALUE, text);
        mWriter->writeEndElement();
        return;
    }
    const QDomElement child = mElement.firstChildElement(key);
    if (child.hasAttribute(VALUE)) {
        text = child.attribute(VALUE);
        convert(text);
    }
}

void SContext::member(const QString& key, QString& value)
{
    scalar(key, [this, &value](QString& text) { memberFromToString(value, text); });
}

void SContext::member(const QString& key, bool& value)
{
    scalar(key, [this, &value](QString& text) { memberFromToString(value, text); });
}

void SContext::member(const QString& key, int& value)
{
    scalar(key, [this, &value](QString& text) {
        if (mMode == Writing) {
            text = QVariant(value).toString();
        } else {
            value = QVariant(text).toInt();
        }
    });
}

void SContext::memberFromToString(QString& value, QString& text) const
{
    if (mMode == Writing) {
        text = value;
    } else {
        value = text;
    }
}

void SContext::memberFromToString(bool& value, QString& text) const
{
    if (mMode == Writing) {
        text = value ? TRUE_TEXT : FALSE_TEXT;
    } else if (text == TRUE_TEXT || text == QLatin1String("1")) {
        value = true;
    } else if (text == FALSE_TEXT || text == QLatin1String("0")) {
        value = false;
    }
}
