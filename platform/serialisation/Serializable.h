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
 * Saving is atomic: after a crash or on a full disk the old file is intact. The file is readable by its owner only. A
 * load that returns false leaves the object unchanged. Objects share nothing: several threads may save and load
 * different objects at the same time.
 */
class SERIALISATION_EXPORT Serializable
{
public:
    /// polyUse: objects of several classes may be stored under one key.
    explicit Serializable(bool polyUse);
    virtual ~Serializable() = default;

    /// Saves object, or this object if it is null, to a file. Returns false and leaves the file unchanged if it cannot
    /// be written, or if load() would refuse it: larger than 1 MiB, nested deeper than 32 elements, a text with control
    /// characters, which XML does not allow, or a key that is not an XML name.
    virtual bool save(const QString& path, Serializable* object);
    /// The name of the root element: by default the name of the class. A class derived from a persisted record
    /// overrides className() with the record's name in order to read and write the record's files.
    virtual QString className() const;
    /// className(), unless a class overrides it.
    virtual QString classNameForInstMap() const;
    /// As given to the constructor.
    virtual bool isPolyUse() const { return mPolyUse; }
    /// Names the members, in the order of the file.
    virtual void sync() = 0;
    /// className(), unless a class overrides it.
    virtual QString classNameLowLevel();
    /// Copies the members of other, as a save and a load would; false if it is of another class or has a text with
    /// characters that XML does not allow. Runs the sync() of other, which must not be null: no other thread may copy
    /// or save it at the same time.
    virtual bool copy(const Serializable* other);

    /// Loads a file saved by this class. A member that is not in the file keeps its value; load into a new object to
    /// get the defaults. Returns false if the file is missing, larger than 1 MiB, not XML in UTF-8, nested deeper than
    /// 32 elements, of another class (see className()), or has a document type, whose entities are never read.
    bool load(const QString& path);

    /// For sync(): whether a load, or a save, is under way.
    bool isReadingMode() const;
    bool isWritingMode() const; ///< See isReadingMode().

protected:
    /// The context is not copied: a copy takes no part in a save or load of other that is under way, and an assignment
    /// does not end one of this object.
    ///@{
    Serializable(const Serializable& other);
    Serializable& operator=(const Serializable& other);
    ///@}

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
    /// Empty if a text has characters that XML does not allow.
    QByteArray toXml();
    bool fromXml(const QByteArray& xml);

    bool mPolyUse;
    SContext* mContext = nullptr; ///< set while sync() runs
};
