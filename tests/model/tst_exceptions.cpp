#include "FileFixtures.h"
#include "model/ExceptionBase.h"
#include "model/OperationCanceledException.h"

#include <QObject>
#include <QTest>

#include <functional>
#include <type_traits>

namespace {
unsigned g_throwLine = 0;
}

namespace Samples {

class SchemaReader
{
public:
    ORVEX_DECLARE_EXCEPTION(XsdLoadException);
    ORVEX_DECLARE_EXCEPTION(BadPathException);

    explicit SchemaReader(const QString& a_file)
    {
        g_throwLine = __LINE__ + 1;
        ORVEX_THROW(XsdLoadException, QStringLiteral("cannot load \"%1\"").arg(a_file));
    }

    static void loadCamera()
    {
        g_throwLine = __LINE__ + 1;
        ORVEX_THROW(BadPathException, std::string());
    }
};

// Kinds nested in a moc-processed class, the usual home of a throwing parser.
class FileWriter : public QObject
{
    Q_OBJECT

public:
    ORVEX_DECLARE_EXCEPTION(BadPathException);

    void printPath()
    {
        const auto inner = [] {
            g_throwLine = __LINE__ + 1;
            ORVEX_THROW(BadPathException, QByteArray("path"));
        };
        inner();
    }
};

void breathe()
{
    g_throwLine = __LINE__ + 1;
    ORVEX_THROW(Orvex::OperationCanceledException, "Operation canceled.");
}

} // namespace Samples

using Thrower = std::function<void()>;
Q_DECLARE_METATYPE(Thrower)

// Handlers tell kinds apart by type: a kind of the same short name in another class is another type.
static_assert(
    !std::is_same<Samples::SchemaReader::BadPathException, Samples::FileWriter::BadPathException>::value);
static_assert(std::is_base_of<Orvex::ExceptionBase, Samples::FileWriter::BadPathException>::value);
static_assert(std::is_base_of<std::exception, Orvex::OperationCanceledException>::value);

class TestExceptions : public QObject
{
    Q_OBJECT

private slots:
    // The source file's folders go, whichever separator they use.
    void composedText()
    {
        const auto text = [](const char* a_message, const char* a_file, unsigned a_line) {
            return QByteArray(Samples::SchemaReader::XsdLoadException(
                                  Orvex::ExceptionDescription("K", a_message, a_file, "f", a_line))
                                  .what());
        };
        QCOMPARE(text("root is not \"xs:schema\"", "/home/dev/orvex/src/model/SchemaParser.cpp", 120),
                 QByteArray("K thrown from f in SchemaParser.cpp[120]: root is not \"xs:schema\""));
        QCOMPARE(text("x", "C:\\work/model\\LumexPrinter.cpp", 4000000000u),
                 QByteArray("K thrown from f in LumexPrinter.cpp[4000000000]: x"));
        QCOMPARE(text("", "b.cpp", 3), QByteArray("K thrown from f in b.cpp[3]: "));
    }

    void functionName_data()
    {
        OrvexTest::addTableRows(QStringLiteral("tests/model/data/exceptions/function-names.txt"),
                                {"signature", "name"});
    }

    void functionName()
    {
        QFETCH(QByteArray, signature);
        QFETCH(QByteArray, name);
        QCOMPARE(QByteArray::fromStdString(
                     Orvex::ExceptionDescription::qualifiedFunctionName(signature.constData())),
                 name);
    }

    void throwSites_data()
    {
        QTest::addColumn<Thrower>("thrower");
        QTest::addColumn<QByteArray>("text");

        QTest::newRow("constructor")
            << Thrower([] { Samples::SchemaReader reader(QStringLiteral("cl.txt")); })
            << QByteArray("XsdLoadException thrown from Samples::SchemaReader::SchemaReader "
                          "in %1: cannot load \"cl.txt\"");
        QTest::newRow("static member, empty message")
            << Thrower(&Samples::SchemaReader::loadCamera)
            << QByteArray("BadPathException thrown from Samples::SchemaReader::loadCamera in %1: ");
        QTest::newRow("lambda in moc class")
            << Thrower([] { Samples::FileWriter().printPath(); })
            << QByteArray("BadPathException thrown from Samples::FileWriter::printPath in %1: path");
        QTest::newRow("namespace kind")
            << Thrower(&Samples::breathe)
            << QByteArray(
                   "OperationCanceledException thrown from Samples::breathe in %1: Operation canceled.");
        QTest::newRow("QString as UTF-8")
            << Thrower([] {
                   g_throwLine = __LINE__ + 1;
                   ORVEX_THROW(Samples::SchemaReader::BadPathException,
                               QStringLiteral("Gr\u00f6\u00dfe \u20ac"));
               })
            << QByteArray("BadPathException thrown from TestExceptions::throwSites_data in %1: "
                          "Gr\xc3\xb6\xc3\x9f"
                          "e \xe2\x82\xac");
    }

    void throwSites()
    {
        QFETCH(Thrower, thrower);
        QFETCH(QByteArray, text);

        g_throwLine = 0;
        QByteArray what;
        try {
            thrower();
        } catch (const Orvex::ExceptionBase& a_error) {
            what = a_error.what();
        }
        QVERIFY(g_throwLine > 0);
        QCOMPARE(what, text.replace("%1", "tst_exceptions.cpp[" + QByteArray::number(g_throwLine) + "]"));
    }
};

QTEST_GUILESS_MAIN(TestExceptions)
#include "tst_exceptions.moc"
