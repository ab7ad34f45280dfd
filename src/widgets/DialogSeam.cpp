#include "widgets/DialogSeam.h"

#include <QFileDialog>
#include <QQueue>
#include <QtDebug>

namespace Orvex {

namespace {

struct SeamState
{
    bool m_testMode = false;
    QQueue<QMessageBox::StandardButton> m_answers;
    QQueue<QString> m_fileNames;
    QList<DialogSeam::Record> m_log;
};

SeamState& state()
{
    static SeamState s_state;
    return s_state;
}

QMessageBox::Icon iconOf(DialogSeam::Kind a_kind)
{
    switch (a_kind) {
    case DialogSeam::Kind::Question:
        return QMessageBox::Question;
    case DialogSeam::Kind::Warning:
        return QMessageBox::Warning;
    default:
        return QMessageBox::Information;
    }
}

} // namespace

QMessageBox::StandardButton DialogSeam::question(QWidget* a_parent, const QString& a_title,
                                                 const QString& a_text,
                                                 QMessageBox::StandardButtons a_buttons,
                                                 QMessageBox::StandardButton a_defaultButton)
{
    return messageBox(Kind::Question, a_parent, a_title, a_text, a_buttons, a_defaultButton);
}

QMessageBox::StandardButton DialogSeam::warning(QWidget* a_parent, const QString& a_title,
                                                const QString& a_text, QMessageBox::StandardButtons a_buttons,
                                                QMessageBox::StandardButton a_defaultButton)
{
    return messageBox(Kind::Warning, a_parent, a_title, a_text, a_buttons, a_defaultButton);
}

void DialogSeam::warningWithDetails(QWidget* a_parent, const QString& a_title, const QString& a_text,
                                    const QString& a_details)
{
    messageBox(Kind::Warning, a_parent, a_title, a_text, QMessageBox::Ok, QMessageBox::NoButton, a_details);
}

QMessageBox::StandardButton DialogSeam::information(QWidget* a_parent, const QString& a_title,
                                                    const QString& a_text,
                                                    QMessageBox::StandardButtons a_buttons,
                                                    QMessageBox::StandardButton a_defaultButton)
{
    return messageBox(Kind::Information, a_parent, a_title, a_text, a_buttons, a_defaultButton);
}

QString DialogSeam::openFileName(QWidget* a_parent, const QString& a_title, const QString& a_directory,
                                 const QString& a_filter)
{
    return chooser(Kind::OpenFileName, a_parent, a_title, a_directory, a_filter);
}

QString DialogSeam::saveFileName(QWidget* a_parent, const QString& a_title, const QString& a_directory,
                                 const QString& a_filter)
{
    return chooser(Kind::SaveFileName, a_parent, a_title, a_directory, a_filter);
}

QString DialogSeam::existingDirectory(QWidget* a_parent, const QString& a_title, const QString& a_directory)
{
    return chooser(Kind::ExistingDirectory, a_parent, a_title, a_directory, QString());
}

void DialogSeam::setTestMode(bool a_on)
{
    state().m_testMode = a_on;
}

bool DialogSeam::testMode()
{
    return state().m_testMode;
}

void DialogSeam::queueAnswer(QMessageBox::StandardButton a_answer)
{
    state().m_testMode = true;
    state().m_answers.enqueue(a_answer);
}

void DialogSeam::queueFileName(const QString& a_path)
{
    state().m_testMode = true;
    state().m_fileNames.enqueue(a_path);
}

int DialogSeam::pendingAnswers()
{
    return state().m_answers.size();
}

int DialogSeam::pendingFileNames()
{
    return state().m_fileNames.size();
}

QList<DialogSeam::Record> DialogSeam::log()
{
    return state().m_log;
}

void DialogSeam::clearLog()
{
    state().m_log.clear();
}

void DialogSeam::reset()
{
    state() = SeamState();
}

QMessageBox::StandardButton DialogSeam::fallbackAnswer(QMessageBox::StandardButtons a_buttons,
                                                       QMessageBox::StandardButton a_defaultButton)
{
    if (a_defaultButton != QMessageBox::NoButton && a_buttons.testFlag(a_defaultButton))
        return a_defaultButton;
    for (QMessageBox::StandardButton cancelling :
         {QMessageBox::Cancel, QMessageBox::Close, QMessageBox::Abort, QMessageBox::No, QMessageBox::NoToAll,
          QMessageBox::Ignore}) {
        if (a_buttons.testFlag(cancelling))
            return cancelling;
    }
    const int bits = int(a_buttons);
    if (bits != 0 && (bits & (bits - 1)) == 0)
        return QMessageBox::StandardButton(bits);
    return QMessageBox::NoButton;
}

QMessageBox::StandardButton DialogSeam::messageBox(Kind a_kind, QWidget* a_parent, const QString& a_title,
                                                   const QString& a_text,
                                                   QMessageBox::StandardButtons a_buttons,
                                                   QMessageBox::StandardButton a_defaultButton,
                                                   const QString& a_details)
{
    SeamState& seam = state();
    if (!seam.m_testMode) {
        QMessageBox box(iconOf(a_kind), a_title, a_text, a_buttons, a_parent);
        if (a_text.startsWith(QLatin1Char('<')))
            box.setTextFormat(Qt::RichText);
        if (a_defaultButton != QMessageBox::NoButton)
            box.setDefaultButton(a_defaultButton);
        if (!a_details.isEmpty())
            box.setDetailedText(a_details);
        box.exec();
        return box.standardButton(box.clickedButton());
    }

    Record record;
    record.m_kind = a_kind;
    record.m_title = a_title;
    record.m_text = a_text;
    record.m_details = a_details;
    record.m_buttons = a_buttons;
    record.m_defaultButton = a_defaultButton;
    record.m_answer = fallbackAnswer(a_buttons, a_defaultButton);
    if (!seam.m_answers.isEmpty()) {
        const QMessageBox::StandardButton queued = seam.m_answers.dequeue();
        if (queued != QMessageBox::NoButton && a_buttons.testFlag(queued)) {
            record.m_answer = queued;
            record.m_fromQueue = true;
        } else {
            qWarning().noquote() << "DialogSeam: queued answer" << int(queued) << "is not a button of"
                                 << a_title;
        }
    }
    seam.m_log.append(record);
    return record.m_answer;
}

QString DialogSeam::chooser(Kind a_kind, QWidget* a_parent, const QString& a_title,
                            const QString& a_directory, const QString& a_filter)
{
    SeamState& seam = state();
    if (!seam.m_testMode) {
        switch (a_kind) {
        case Kind::OpenFileName:
            return QFileDialog::getOpenFileName(a_parent, a_title, a_directory, a_filter);
        case Kind::SaveFileName:
            return QFileDialog::getSaveFileName(a_parent, a_title, a_directory, a_filter);
        default:
            return QFileDialog::getExistingDirectory(a_parent, a_title, a_directory,
                                                     QFileDialog::ShowDirsOnly);
        }
    }

    Record record;
    record.m_kind = a_kind;
    record.m_title = a_title;
    record.m_text = a_filter;
    record.m_directory = a_directory;
    if (!seam.m_fileNames.isEmpty()) {
        record.m_fileAnswer = seam.m_fileNames.dequeue();
        record.m_fromQueue = true;
    }
    seam.m_log.append(record);
    return record.m_fileAnswer;
}

} // namespace Orvex
