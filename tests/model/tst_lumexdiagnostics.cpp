#include "LumexDiagnostics.h"

#include "Lumex.h"
#include "TestSupport.h"

#include <QFile>
#include <QObject>
#include <QTest>

namespace {

QString item(const QString& a_name, const QString& a_message, const QString& a_comment)
{
    return QLatin1String("<li><b>") + a_name + QLatin1String("</b>&nbsp;&mdash;&nbsp;") + a_message +
           QLatin1String("<p>") + a_comment + QLatin1String("</p></li>");
}

const char* orNull(const QByteArray& a_text)
{
    return a_text.isNull() ? nullptr : a_text.constData();
}

} // namespace

class TestLumexDiagnostics : public QObject
{
    Q_OBJECT

private slots:
    void oneDiagnostic_data();
    void oneDiagnostic();
    void chain_data();
    void chain();
    void malformedFile();
};

void TestLumexDiagnostics::oneDiagnostic_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("message");
    QTest::addColumn<QByteArray>("comment");
    QTest::addColumn<QString>("expected");

    QTest::newRow("plain texts") << QByteArray("XML fatal error 76") << QByteArray("Tag mismatch")
                                 << QByteArray("line 3")
                                 << item("XML fatal error 76", "Tag mismatch", "line 3");
    QTest::newRow("all null") << QByteArray() << QByteArray() << QByteArray() << item("", "", "");
    QTest::newRow("null name only") << QByteArray() << QByteArray("m") << QByteArray("c")
                                    << item("", "m", "c");
    QTest::newRow("markup escaped") << QByteArray("<b>") << QByteArray("a & b") << QByteArray("\"q\" <t>")
                                    << item("&lt;b&gt;", "a &amp; b", "&quot;q&quot; &lt;t&gt;");
    QTest::newRow("comment of 256 characters")
        << QByteArray("n") << QByteArray("m") << QByteArray(256, 'a') << item("n", "m", QString(256, 'a'));
    QTest::newRow("comment of 257 characters") << QByteArray("n") << QByteArray("m") << QByteArray(257, 'a')
                                               << item("n", "m", QString(256, 'a') + "&hellip;");
    QTest::newRow("escaping reaches 256 exactly")
        << QByteArray("n") << QByteArray("m") << QByteArray(51, '&') + 'a'
        << item("n", "m", QString("&amp;").repeated(51) + 'a');
    QTest::newRow("escaping pushes past 256")
        << QByteArray("n") << QByteArray("m") << QByteArray(50, '&') + QByteArray(7, 'a')
        << item("n", "m", QString("&amp;").repeated(50) + QString(6, 'a') + "&hellip;");
    QTest::newRow("cut inside an escape") << QByteArray("n") << QByteArray("m") << QByteArray(254, 'a') + '<'
                                          << item("n", "m", QString(254, 'a') + "&l&hellip;");
    QTest::newRow("characters, not bytes")
        << QByteArray("n") << QByteArray("m") << QByteArray("\xc3\xa9").repeated(300)
        << item("n", "m", QString(256, QChar(0xe9)) + "&hellip;");
    QTest::newRow("long name and message are kept")
        << QByteArray(300, 'n') << QByteArray(300, 'm') << QByteArray("c")
        << item(QString(300, 'n'), QString(300, 'm'), "c");
}

void TestLumexDiagnostics::oneDiagnostic()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, message);
    QFETCH(QByteArray, comment);
    QFETCH(QString, expected);

    const Lumex::Error error(orNull(name), orNull(message), orNull(comment));
    QCOMPARE(Orvex::LumexDiagnostics::toHtml(error),
             QLatin1String("<ol>") + expected + QLatin1String("</ol>"));
}

void TestLumexDiagnostics::chain_data()
{
    QTest::addColumn<int>("skipped");
    QTest::addColumn<QString>("expected");

    const QString first = item("first", "one", "1");
    const QString second = item("second", "two", "");
    const QString third = item("third", "", "3");
    QTest::newRow("whole chain") << 0 << first + second + third;
    QTest::newRow("from the second") << 1 << second + third;
    QTest::newRow("from the last") << 2 << third;
    QTest::newRow("past the end") << 3 << QString();
}

void TestLumexDiagnostics::chain()
{
    QFETCH(int, skipped);
    QFETCH(QString, expected);

    Lumex::Error error("first", "one", "1");
    error.append("second", "two", nullptr);
    error.append(Lumex::Error("third", nullptr, "3"));
    for (int i = 0; i < skipped; ++i)
        error = error.skip_next(Lumex::Error::NextError);
    QCOMPARE(Orvex::LumexDiagnostics::toHtml(error),
             QLatin1String("<ol>") + expected + QLatin1String("</ol>"));
}

void TestLumexDiagnostics::malformedFile()
{
    const QByteArray path =
        QFile::encodeName(OrvexTest::sourcePath(QStringLiteral("tests/platform/data/malformed.xml")));
    Lumex::CamFile file;
    const Lumex::Error error = file.load(path.constData(), Lumex::CamFile::SourcePath);
    QVERIFY(!error);
    QVERIFY(error.count() >= 4);

    const QString html = Orvex::LumexDiagnostics::toHtml(error);
    QVERIFY(html.startsWith(QLatin1String("<ol><li><b>")));
    QVERIFY(html.endsWith(QLatin1String("</p></li></ol>")));
    QCOMPARE(html.count(QLatin1String("<li>")), int(error.count()));
    QCOMPARE(html.count(QLatin1String("</li>")), int(error.count()));
    int position = 0;
    for (Lumex::Error current = error; !current; current = current.skip_next(1)) {
        const QString message = QString::fromUtf8(current.message()).toHtmlEscaped();
        const int found = html.indexOf(message, position);
        QVERIFY2(found >= position, qPrintable(message));
        position = found + message.size();
    }
    QVERIFY(!html.contains(QLatin1String("<name>")));
}

QTEST_GUILESS_MAIN(TestLumexDiagnostics)
#include "tst_lumexdiagnostics.moc"
