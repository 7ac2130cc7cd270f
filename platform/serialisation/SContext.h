#pragma once

#include <serialisation/serialisation_export.h>

#include <QDomElement>
#include <QString>

class QXmlStreamWriter;
class Serializable;

/**
 * One save or load of an object: its direction and its position in the XML.
 *
 * A scalar member is an element named by its key, with its text in the attribute "val". A nested object is an element
 * named by its key that contains the members of the object. Created by Serializable for one call on one thread.
 */
class SERIALISATION_EXPORT SContext
{
public:
    /// Whether an object is saved or loaded.
    enum Mode { Writing, Reading };

    /// Writes to writer.
    explicit SContext(QXmlStreamWriter& writer);
    /// Reads the children of element.
    explicit SContext(const QDomElement& element);

    /// Writes or reads a nested object under key, which is an XML name. Reading leaves it unchanged if there is no such
    /// element.
    virtual void member(const QString& key, Serializable* object);
    virtual ~SContext() = default;

    SContext(const SContext&) = delete;
    SContext& operator=(const SContext&) = delete;

    /// Writes or reads a scalar under key, which is an XML name. Reading leaves it unchanged if the element or its
    /// "val" is missing.
    void member(const QString& key, QString& value);
    /// Writes "true" or "false"; a text that is neither, nor "1" or "0", leaves value unchanged.
    void member(const QString& key, bool& value);
    /// A text that is not a number is read as 0.
    void member(const QString& key, int& value);

    Mode mode() const { return mMode; } ///< The direction, from the constructor.

    /// Sets text from value when writing, value from text when reading.
    void memberFromToString(QString& value, QString& text) const;
    /// Writes "true" or "false"; reads "1" and "0" as well. Any other text leaves value unchanged.
    void memberFromToString(bool& value, QString& text) const;

private:
    template <class Convert> void scalar(const QString& key, const Convert& convert);

    Mode mMode;
    QXmlStreamWriter* mWriter = nullptr;
    QDomElement mElement;
};
