#pragma once

#include <serialisation/serialisation_export.h>

#include <QDomElement>
#include <QString>

class QXmlStreamWriter;
class Serializable;

/**
 * One saving or loading of an object: the direction, and where in the XML it is.
 *
 * A scalar member is an element named by its key, with its text in the attribute "val"; a nested object is an element
 * named by its key that holds the members of the object. Made by Serializable; lives for one call on one thread.
 */
class SERIALISATION_EXPORT SContext
{
public:
    enum Mode { Writing, Reading };

    /// Writes to writer.
    explicit SContext(QXmlStreamWriter& writer);
    /// Reads the children of element.
    explicit SContext(const QDomElement& element);

    /// Writes or reads a nested object under key, which is a name in XML. When it is read and there is no such element,
    /// it stays as it is.
    virtual void member(const QString& key, Serializable* object);
    virtual ~SContext() = default;

    SContext(const SContext&) = delete;
    SContext& operator=(const SContext&) = delete;

    /// Writes or reads a scalar under key. When it is read and the element or its "val" is missing, it stays as it is.
    void member(const QString& key, QString& value);
    void member(const QString& key, bool& value);
    /// A text that is no number is read as 0.
    void member(const QString& key, int& value);

    Mode mode() const { return mMode; }

    /// Sets text from value when writing, value from text when reading.
    void memberFromToString(QString& value, QString& text) const;
    /// "true" and "false"; "1" and "0" are read too, and any other text leaves value as it is.
    void memberFromToString(bool& value, QString& text) const;

private:
    template <class Convert> void scalar(const QString& key, const Convert& convert);

    Mode mMode;
    QXmlStreamWriter* mWriter = nullptr;
    QDomElement mElement;
};
