#pragma once

#include <tavrel/FTPSettings.h>
#include <tavrel/tavrel_export.h>

#include <serialisation/Serializable.h>

/// An FTPSettings that is saved to and loaded from a file; see Serializable. Applications derive from it to fill it.
class TAVREL_EXPORT FTPSettingsSerializable : public FTPSettings, public Serializable
{
public:
    FTPSettingsSerializable();

    /// Also reads older files, whose password stands in plain text.
    void sync() override;
};
