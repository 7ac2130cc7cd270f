#pragma once

#include <serialisation/SContext.h>
#include <serialisation/serialisation_export.h>

#include <QString>

#include <type_traits>

/**
 * Base of the objects that are saved to and loaded from an XML file.
 *
 * A class names its members once, in sync(), which serves both directions:
 *
 *     void Account::sync()
 *     {
 *         member("host", mHost);
 *         member("port", mPort);
 *     }
 *
 * A save is atomic: after a crash or on a full disk the old file is still whole. The file is readable by its owner
 * alone. A load that returns false has left the object as it was. Nothing is shared between objects: two threads may
 * save and load two of them at the same time.
 */
class SERIALISATION_EXPORT Serializable
{
public:
    /// polyUse tells that objects of several classes may stand under the same key.
    explicit Serializable(bool polyUse);
    virtual ~Serializable() = default;

    /// Saves object, or this object if it is null, to a file. False, and the file is as it was, when it cannot be
    /// written or load() would refuse it: it would be larger than 1 MiB or nested deeper than 32 elements, hold a text
    /// that XML cannot carry (control characters), or a key that is no XML name.
    virtual bool save(const QString& path, Serializable* object);
    /// The name of the root element: by default the name of the class. A class derived from a persisted record
    /// overrides this to return the record's name when it is to read and write the record's files.
    virtual QString className() const;
    virtual QString classNameForInstMap() const;
    virtual bool isPolyUse() const { return mPolyUse; }
    /// Names the members, in the order of the file.
    virtual void sync() = 0;
    virtual QString classNameLowLevel();
    /// Takes over the members of other, as a save and a load would; false when it is of another class.
    virtual bool copy(const Serializable* other);

    /// Loads a file that was saved by this class. A member that the file does not hold keeps its value, so load into a
    /// new object unless you want a mixture. False when the file is missing, larger than 1 MiB, not XML, nested deeper
    /// than 32 elements, of another class (see className()), or has a document type (whose entities are never
    /// expanded).
    bool load(const QString& path);

    bool isReadingMode() const;
    bool isWritingMode() const;

protected:
    /// A copy takes no part in a saving or loading of other that is under way, and an assignment ends none of this.
    Serializable(const Serializable& other);
    Serializable& operator=(const Serializable& other);

    /// For sync(): writes or reads one member; see SContext.
    template <class T> void member(const QString& key, T& value)
    {
        if (!mContext) {
            return;
        }
        if constexpr (std::is_base_of_v<Serializable, T>) {
            mContext->member(key, static_cast<Serializable*>(&value));
        } else {
            mContext->member(key, value);
        }
    }

private:
    friend class SContext;
    void syncWith(SContext& context);
    /// Empty when a text holds what XML cannot carry.
    QByteArray toXml();
    bool fromXml(const QByteArray& xml);

    bool mPolyUse;
    SContext* mContext = nullptr; ///< set while sync() runs
};
