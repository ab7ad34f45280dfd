#pragma once

#include <QString>

namespace OrvexTest {

// Absolute path of a file in the source tree, for test data kept beside the tests.
QString sourcePath(const QString& a_relative);

// Runs xmllint on a file; returns its exit status (0: well formed, and valid when a schema is given)
// and puts what it printed into a_output. Returns -1 when xmllint cannot be started.
int runXmllint(const QString& a_file, const QString& a_schema, QString* a_output = nullptr);

} // namespace OrvexTest
