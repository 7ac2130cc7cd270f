#pragma once

#include "EditableSettings.h"

#include <QDialog>
#include <QMap>

class QCheckBox;
class QComboBox;
class QFormLayout;
class QLabel;
class QLineEdit;

/// Edits the settings of a publication target. The fields have the persisted keys as object names.
class SettingsDialog : public QDialog
{
    Q_OBJECT

public:
    explicit SettingsDialog(QWidget* parent = nullptr);

    /// Fills the fields from a file; false, with a message in the dialog, when it cannot be read.
    bool openFile(const QString& path);
    /// Saves the fields, if they are valid; else false, with a message beside the field at fault.
    bool saveFile(const QString& path);

private:
    QLineEdit* addField(QFormLayout* form, const QString& key, const QString& label, const QString& placeholder);
    QWidget* withComplaint(const QString& key, QWidget* edit);
    QWidget* passwordField();
    void buildForm();
    void buildButtons();
    void chooseAndOpen();
    void chooseAndSave();

    EditableSettings entered() const;
    void display(const EditableSettings& settings);
    void refresh();
    bool validate(const EditableSettings& settings);
    void complain(const QString& key, const QString& message);
    QLineEdit* field(const char* key) const;

    QLabel* mLabel;
    QLabel* mAddress;
    QLabel* mStatus;
    QComboBox* mProtocol;
    QCheckBox* mPassive;
    QMap<QString, QLabel*> mComplaints; ///< below the fields, by key
};
