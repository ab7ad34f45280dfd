#pragma once

#include <QList>
#include <QMessageBox>
#include <QString>

class QWidget;

namespace Orvex {

// Every message box and every file or folder chooser of the program is shown through here, so that a
// test can answer them in advance instead of a user. Normally the real dialog is shown. In test mode
// (switched on explicitly or by queueing an answer) nothing is shown: each call takes the next queued
// answer of its kind, or falls back to what dismissing the dialog would give (its default button, a
// cancelled chooser), and is appended to the log. Test mode never blocks.
//
// GUI thread only.
class DialogSeam
{
public:
    enum class Kind
    {
        Question,
        Warning,
        Information,
        OpenFileName,
        SaveFileName,
        ExistingDirectory
    };

    struct Record
    {
        Kind m_kind = Kind::Question;
        QString m_title;
        // The message of a message box; the filter of a file chooser.
        QString m_text;
        // Where a chooser starts.
        QString m_directory;
        QMessageBox::StandardButtons m_buttons;
        QMessageBox::StandardButton m_defaultButton = QMessageBox::NoButton;
        QMessageBox::StandardButton m_answer = QMessageBox::NoButton;
        QString m_fileAnswer;
        // The text behind a message box's "Show Details..." button; empty when it has none.
        QString m_details;
        // False when nothing suitable was queued and the fallback answered.
        bool m_fromQueue = false;
    };

    // Texts that begin with "<" are shown as rich text.
    static QMessageBox::StandardButton
    question(QWidget* a_parent, const QString& a_title, const QString& a_text,
             QMessageBox::StandardButtons a_buttons = QMessageBox::Yes | QMessageBox::No,
             QMessageBox::StandardButton a_defaultButton = QMessageBox::NoButton);
    static QMessageBox::StandardButton
    warning(QWidget* a_parent, const QString& a_title, const QString& a_text,
            QMessageBox::StandardButtons a_buttons = QMessageBox::Ok,
            QMessageBox::StandardButton a_defaultButton = QMessageBox::NoButton);
    // A warning with an OK button and a_details (plain text) behind "Show Details...".
    static void warningWithDetails(QWidget* a_parent, const QString& a_title, const QString& a_text,
                                   const QString& a_details);
    static QMessageBox::StandardButton
    information(QWidget* a_parent, const QString& a_title, const QString& a_text,
                QMessageBox::StandardButtons a_buttons = QMessageBox::Ok,
                QMessageBox::StandardButton a_defaultButton = QMessageBox::NoButton);

    // Empty when the user cancelled.
    static QString openFileName(QWidget* a_parent, const QString& a_title, const QString& a_directory,
                                const QString& a_filter);
    static QString saveFileName(QWidget* a_parent, const QString& a_title, const QString& a_directory,
                                const QString& a_filter);
    // Offers folders only.
    static QString existingDirectory(QWidget* a_parent, const QString& a_title, const QString& a_directory);

    static void setTestMode(bool a_on);
    static bool testMode();
    // Answers for message boxes, taken in order. An answer that is not among a box's buttons is
    // dropped with a warning and the box falls back to its default.
    static void queueAnswer(QMessageBox::StandardButton a_answer);
    // Answers for file and folder choosers, taken in order; an empty one is a cancel.
    static void queueFileName(const QString& a_path);
    static int pendingAnswers();
    static int pendingFileNames();

    static QList<Record> log();
    static void clearLog();
    // Drops the queues and the log and leaves test mode.
    static void reset();

    // What dismissing a box with these buttons gives: its default when that is one of them, else its
    // cancelling button, else its only button, else NoButton.
    static QMessageBox::StandardButton fallbackAnswer(QMessageBox::StandardButtons a_buttons,
                                                      QMessageBox::StandardButton a_defaultButton);

private:
    static QMessageBox::StandardButton messageBox(Kind a_kind, QWidget* a_parent, const QString& a_title,
                                                  const QString& a_text,
                                                  QMessageBox::StandardButtons a_buttons,
                                                  QMessageBox::StandardButton a_defaultButton,
                                                  const QString& a_details = QString());
    static QString chooser(Kind a_kind, QWidget* a_parent, const QString& a_title, const QString& a_directory,
                           const QString& a_filter);
};

} // namespace Orvex
