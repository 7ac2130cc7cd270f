#pragma once

#include <tavrel/FTPSettings.h>
#include <tavrel/tavrel_export.h>

#include <serialisation/Serializable.h>

/// An FTPSettings that is saved to and loaded from a file; see Serializable. Applications derive from it to set the
/// fields, and override className() to keep the files compatible.
class TAVREL_EXPORT FTPSettingsSerializable : public FTPSettings, public Serializable
{
public:
    FTPSettingsSerializable();

    /// Also reads older files, with the password in plaintext.
    void sync() override;
};
