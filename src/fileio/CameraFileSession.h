#pragma once

#include "model/ExceptionBase.h"

#include <QObject>
#include <QPointer>
#include <QString>

#include <utility>

namespace Orvex {

class CameraElement;
class DocumentHost;
class LumexTree;
class ProgressStepper;
class QNBrdDataSource;
class WindowElement;

// One camera file as the editor holds it: its document tree, and its window element with the camera
// built from the schema of the file's standard. Loading and saving run the editor's own sequence, so
// that the editor and the command-line tools read and write every file alike.
//
// The document tree and the window element are Qt children of the host, which stands for the main
// window (see DocumentHost); without one given, the session answers the window element on a host of its
// own, which shows nothing. The session deletes both when it closes the document.
//
// Progress: with a stepper, loading runs the stages "Loading LUMEX file" (0 to 9), "Loading Schema file"
// (10 to 19), "Generating feature template from schema file" (20 to 59) and "Populating editor from file
// data" (60 to 99); saving runs "Generating file structure" (1 to 89) and "Saving LUMEX file" (90 to 99).
// Every stage may throw OperationCanceledException. Without a stepper nothing can cancel.
class CameraFileSession : public QObject
{
    Q_OBJECT

public:
    enum class LoadResult
    {
        Loaded,
        // The file names neither CoaXPress nor Camera Link as its standard; nothing is kept.
        UnknownStandard
    };

    explicit CameraFileSession(DocumentHost* a_host = nullptr, QObject* a_parent = nullptr);
    ~CameraFileSession() override;

    // What the editor tells the user about a file of unknown standard.
    static QString unknownStandardText();
    // After load gave UnknownStandard: where and why, for the user's message.
    FailurePlace unknownStandardPlace() const { return m_unknownStandardPlace; }

    // The board whose registers the register-write features offer (see SchemaParser); not owned. Set it
    // before load.
    void setBoardDataSource(QNBrdDataSource* a_dataSource);

    // Reads a_path: the file, its standard, that standard's schema into a new camera, and the file into
    // the camera and a new document tree; only then closes the current document and takes the new one.
    // The schema paths are kept for save. Failures throw the kinds of the parsers (ExceptionBase) or
    // OperationCanceledException and leave the current document as it was.
    LoadResult load(const QString& a_path, const QString& a_coaXPressXsdPath,
                    const QString& a_cameraLinkXsdPath, ProgressStepper* a_progress);

    // Writes the document to a_path, the extra data of the file included when a_preserveExtraData.
    // Throws the printer's kinds (ExceptionBase) when the document cannot be generated, and
    // OperationCanceledException; false when the file could not be written, which leaves it as it was.
    bool save(const QString& a_path, ProgressStepper* a_progress, bool a_preserveExtraData);
    // After a save that returned false: the file and why it could not be written, in the user's words,
    // and the technical report of the write.
    const FailurePlace& saveFailure() const { return m_saveFailure; }
    const QString& saveReport() const { return m_saveReport; }
    // After a save that returned true: the bytes written, handed over once; null when the file was
    // written without them at hand.
    QByteArray takeSavedText() { return std::exchange(m_savedText, QByteArray()); }

    // On by default: saving writes into the text the file was read from, changing it only where the
    // content changed. Off, every save lays the whole document out anew.
    void setKeepsLayout(bool a_keepsLayout) { m_keepsLayout = a_keepsLayout; }

    // Emits documentClosing first when there is a document.
    void close();

    bool isLoaded() const;
    // Absolute; empty without a document.
    QString filePath() const { return m_filePath; }
    LumexTree* tree() const;
    WindowElement* windowElement() const;
    CameraElement* camera() const;
    QString coaXPressXsdPath() const { return m_coaXPressXsdPath; }
    QString cameraLinkXsdPath() const { return m_cameraLinkXsdPath; }

signals:
    // The document's window element and tree are about to be deleted, while they still exist.
    void documentClosing();
    // Once the file's standard is known and before its schema is read; a CameraElement::Standard.
    void standardDetermined(int a_standard);

private:
    QPointer<DocumentHost> m_host;
    QPointer<QNBrdDataSource> m_dataSource;
    QPointer<LumexTree> m_tree;
    QPointer<WindowElement> m_windowElement;
    QString m_filePath;
    FailurePlace m_saveFailure;
    QString m_saveReport;
    QByteArray m_savedText;
    QString m_coaXPressXsdPath;
    QString m_cameraLinkXsdPath;
    bool m_keepsLayout = true;
    FailurePlace m_unknownStandardPlace;
};

} // namespace Orvex
