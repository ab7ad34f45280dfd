#pragma once

#include <QByteArray>
#include <QString>

namespace OrvexTest {

// Keeps the test's settings apart from the user's and from other tests', and starts them empty.
void isolateSettings(const QString& a_application);

// Writes a_contents to a_path, making its folder; false when it cannot.
bool writeFile(const QString& a_path, const QByteArray& a_contents);

// The current data row's value in column a_name of a table read by addTableRows.
QByteArray field(const char* a_name);

// Makes the simulated driver see the boards of a_json ({"boards": [...]}), written to a_path.
bool loadSimBoards(const QString& a_path, const QByteArray& a_json);

} // namespace OrvexTest
