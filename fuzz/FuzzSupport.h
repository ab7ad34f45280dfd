#pragma once

#include "fileio/CameraFileSession.h"
#include "model/ExceptionBase.h"

#include <QApplication>
#include <QByteArray>
#include <QCoreApplication>
#include <QEvent>
#include <QFile>
#include <QString>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>

// What the three harnesses share: a widget application on the offscreen platform, a scratch folder for
// the files they write, and the editor's own way of opening and saving a camera file.
namespace OrvexFuzz {

// A property every input must keep; a breach is a finding, so it stops the run with a stack.
inline void require(bool a_holds, const char* a_what)
{
    if (a_holds)
        return;
    std::fprintf(stderr, "Fuzz property broken: %s\n", a_what);
    std::abort();
}

inline void quietMessages(QtMsgType a_type, const QMessageLogContext&, const QString& a_message)
{
    if (a_type == QtFatalMsg) {
        std::fprintf(stderr, "%s\n", qPrintable(a_message));
        std::abort();
    }
}

// Elements build widgets, so a display-less widget application must exist before the first input.
inline void startApplication(int* a_argc, char*** a_argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler(quietMessages);
    static QApplication application(*a_argc, *a_argv);
}

// Objects that asked to be deleted later are deleted now, so that memory stays flat across inputs.
inline void settle()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
}

inline QString scratchPath(const QString& a_name)
{
    static QTemporaryDir folder;
    return folder.filePath(a_name);
}

inline QString writeFile(const QString& a_name, const QByteArray& a_bytes)
{
    const QString path = scratchPath(a_name);
    QFile file(path);
    require(file.open(QIODevice::WriteOnly | QIODevice::Truncate), "the scratch file can be written");
    require(file.write(a_bytes) == a_bytes.size(), "the scratch file is written whole");
    return path;
}

inline QString shippedSchema(bool a_coaXPress)
{
    return QStringLiteral(ORVEX_SOURCE_DIR) + (a_coaXPress ? QStringLiteral("/config/Pld/LUMEX-CXP.xsd")
                                                           : QStringLiteral("/config/Vrm/LUMEX-CL.xsd"));
}

// One open document, held as the editor holds it; the session makes its own host, which shows nothing.
struct Document
{
    Orvex::CameraFileSession session;

    // The shipped schema of the file's standard, or a_schema whatever the standard; false when the
    // standard is none of the two. Refusals throw Orvex::ExceptionBase.
    bool open(const QString& a_file, const QString& a_schema = QString())
    {
        const QString coaXPress = a_schema.isEmpty() ? shippedSchema(true) : a_schema;
        const QString cameraLink = a_schema.isEmpty() ? shippedSchema(false) : a_schema;
        return session.load(a_file, coaXPress, cameraLink, nullptr) ==
               Orvex::CameraFileSession::LoadResult::Loaded;
    }

    // Prints the document with its extra data and writes it; refusals throw Orvex::ExceptionBase.
    bool save(const QString& a_file) { return session.save(a_file, nullptr, true); }
};

inline QByteArray readFile(const QString& a_path)
{
    QFile file(a_path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace OrvexFuzz
