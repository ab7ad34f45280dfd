#include "LumexTree.h"
#include "LumexTreeElement.h"
#include "LumexTreeMode.h"

#include <QCoreApplication>
#include <QMap>
#include <QMetaProperty>
#include <QPointer>
#include <QTest>

#include <memory>

using Orvex::LumexTree;
using Orvex::LumexTreeElement;
using Orvex::LumexTreeMode;

namespace {

// Stands in for the editor's mode element, which the tree knows only by its "id" property.
class FakeModeElement : public QObject
{
    Q_OBJECT
    Q_PROPERTY(quint64 id READ id)

public:
    explicit FakeModeElement(quint64 a_id) : m_id(a_id) {}
    quint64 id() const { return m_id; }

private:
    quint64 m_id;
};

const QStringList modesPath{QStringLiteral("quarnel_config"), QStringLiteral("camera"),
                            QStringLiteral("modes")};

// Named children only: "a(b,c(d))".
QString shape(const LumexTreeElement* a_node)
{
    QStringList children;
    for (const LumexTreeElement* child : a_node->childElements())
        children << shape(child);
    return a_node->name() + (children.isEmpty() ? QString() : "(" + children.join(',') + ")");
}

bool setFlag(LumexTreeElement* a_node, const QString& a_flag, bool a_value)
{
    if (a_flag == "isText")
        return a_node->setIsText(a_value);
    if (a_flag == "isAttribute")
        return a_node->setIsAttribute(a_value);
    if (a_flag == "isComment")
        return a_node->setIsComment(a_value);
    return a_node->setIsSchemaCompliant(a_value);
}

void processDeferredDeletes()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

// A template "mode" with a compliant category holding an id-linked feature and its attribute.
LumexTreeElement* addModeTemplate(LumexTree& a_tree)
{
    LumexTreeElement* mode = a_tree.elementByPath(modesPath + QStringList{"mode"}, true);
    LumexTreeElement* feature =
        mode->descendantByPath(modesPath + QStringList{"mode", "Acquisition", "Width"}, true);
    feature->setValue("640");
    feature->setElementId(17);
    LumexTreeElement* unit = feature->addChild("unit");
    unit->setIsAttribute(true);
    unit->setValue("px");
    return mode;
}

} // namespace

class TestLumexTree : public QObject
{
    Q_OBJECT

private slots:
    void treeAndProperties();
    void flagSetters_data();
    void flagSetters();
    void schemaCompliance();
    void addingChildMakesPlainElement_data();
    void addingChildMakesPlainElement();
    void baseElementId_data();
    void baseElementId();
    void lookupAndPaths();
    void descendantByPath_data();
    void descendantByPath();
    void attachMode();
    void modeNodeGoesAway_data();
    void modeNodeGoesAway();
    void removeChildAt_data();
    void removeChildAt();
    void removeChildAndSelf();
    void prune();
    void deepCopy();
};

void TestLumexTree::treeAndProperties()
{
    LumexTree tree(QStringLiteral("/cams/a.lumex"));
    QVERIFY(tree.setProperty("file", QStringLiteral("/cams/b.lumex")));
    QCOMPARE(tree.file(), QStringLiteral("/cams/b.lumex"));
    QCOMPARE(tree.metaObject()->propertyCount() - tree.metaObject()->propertyOffset(), 1);
    QVERIFY(tree.metaObject()->indexOfSlot("removeMode(QObject*)") >= 0);

    LumexTreeElement* root = tree.root();
    QVERIFY(root && root->name().isEmpty() && !root->parentElement() && root->isSchemaCompliant());
    QCOMPARE(root->parent(), &tree);
    QCOMPARE(root->tree(), &tree);

    const QMetaObject& meta = LumexTreeElement::staticMetaObject;
    const QStringList names{"name",   "value",       "elementId", "baseElementId",     "isModeElement",
                            "isText", "isAttribute", "isComment", "isSchemaCompliant", "allSchemaCompliant"};
    const QStringList readOnly{"baseElementId", "isModeElement", "allSchemaCompliant"};
    QCOMPARE(meta.propertyCount() - meta.propertyOffset(), names.size());
    for (int i = 0; i < names.size(); ++i) {
        const QMetaProperty property = meta.property(meta.propertyOffset() + i);
        QCOMPARE(QString(property.name()), names.at(i));
        QCOMPARE(property.isWritable(), !readOnly.contains(names.at(i)));
    }
    QCOMPARE(meta.property(meta.indexOfProperty("value")).userType(), int(QMetaType::QByteArray));
    QCOMPARE(meta.property(meta.indexOfProperty("elementId")).userType(), int(QMetaType::LongLong));
}

void TestLumexTree::flagSetters_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("mode");
    QTest::addColumn<bool>("withChild");
    QTest::addColumn<QString>("preset");
    QTest::addColumn<QString>("flag");
    QTest::addColumn<bool>("request");
    QTest::addColumn<bool>("returned");
    // Expected flags afterwards, in the order text, attribute, comment, schema compliant.
    QTest::addColumn<QString>("flags");

    QTest::newRow("text clears attribute") << "" << false << false << "isAttribute"
                                           << "isText" << true << true << "1001";
    QTest::newRow("text clears comment") << "" << false << false << "isComment"
                                         << "isText" << true << true << "1000";
    QTest::newRow("text refused with name") << "w" << false << false << ""
                                            << "isText" << true << false << "0001";
    QTest::newRow("text refused with child") << "" << false << true << ""
                                             << "isText" << true << false << "0001";
    QTest::newRow("text cleared") << "" << false << false << "isText"
                                  << "isText" << false << true << "0001";
    QTest::newRow("comment leaves schema") << "" << false << false << "isText"
                                           << "isComment" << true << true << "0010";
    QTest::newRow("comment refused with name") << "w" << false << false << ""
                                               << "isComment" << true << false << "0001";
    QTest::newRow("comment refused with child") << "" << false << true << ""
                                                << "isComment" << true << false << "0001";
    QTest::newRow("attribute named") << "unit" << false << false << ""
                                     << "isAttribute" << true << true << "0101";
    QTest::newRow("attribute clears comment") << "" << false << false << "isComment"
                                              << "isAttribute" << true << true << "0100";
    QTest::newRow("attribute refused with child") << "a" << false << true << ""
                                                  << "isAttribute" << true << false << "0001";
    QTest::newRow("compliant clears comment") << "" << false << false << "isComment"
                                              << "isSchemaCompliant" << true << true << "0001";
    QTest::newRow("mode never text") << "" << true << false << ""
                                     << "isText" << true << false << "0001";
    QTest::newRow("mode never attribute") << "" << true << false << ""
                                          << "isAttribute" << true << false << "0001";
    QTest::newRow("mode never comment") << "" << true << false << ""
                                        << "isComment" << true << false << "0001";
    QTest::newRow("mode always compliant") << "" << true << true << ""
                                           << "isSchemaCompliant" << false << false << "0001";
}

void TestLumexTree::flagSetters()
{
    QFETCH(QString, name);
    QFETCH(bool, mode);
    QFETCH(bool, withChild);
    QFETCH(QString, preset);
    QFETCH(QString, flag);
    QFETCH(bool, request);
    QFETCH(bool, returned);
    QFETCH(QString, flags);

    LumexTree tree(QString{});
    FakeModeElement modeObject(42);
    tree.elementByPath(modesPath + QStringList{"mode"}, true);
    LumexTreeElement* node =
        mode ? tree.attachMode(&modeObject) : tree.elementByPath({"quarnel_config", name}, true);
    QVERIFY(node);
    if (!preset.isEmpty())
        QVERIFY(setFlag(node, preset, true));
    if (withChild)
        QVERIFY(node->addChild("child")->setIsSchemaCompliant(true));

    QCOMPARE(setFlag(node, flag, request), returned);
    const QString actual = QString::number(node->isText()) + QString::number(node->isAttribute()) +
                           QString::number(node->isComment()) + QString::number(node->isSchemaCompliant());
    QCOMPARE(actual, flags);
    QCOMPARE(node->property(flag.toLatin1()).toBool() == request, returned);
    if (withChild)
        QCOMPARE(node->childAt(0)->isSchemaCompliant(), node->isSchemaCompliant());
}

void TestLumexTree::schemaCompliance()
{
    LumexTree tree(QString{});
    LumexTreeElement* config = tree.elementByPath({"quarnel_config"}, true);
    LumexTreeElement* below = config->addChild("vendor")->addChild("x");
    QVERIFY(!below->setIsSchemaCompliant(true));
    QVERIFY(!below->isSchemaCompliant());

    LumexTreeElement* deep = tree.elementByPath({"quarnel_config", "camera", "modes", "mode"}, true);
    LumexTreeElement* camera = deep->parentElement()->parentElement();
    QVERIFY(!config->allSchemaCompliant());
    QVERIFY(camera->allSchemaCompliant());
    QVERIFY(camera->setIsSchemaCompliant(false));
    for (const LumexTreeElement* node = deep; node != config; node = node->parentElement())
        QVERIFY2(!node->isSchemaCompliant(), qPrintable(node->name()));
    QVERIFY(camera->setIsSchemaCompliant(true));
    QVERIFY(!deep->isSchemaCompliant());
    QVERIFY(!camera->allSchemaCompliant());
}

void TestLumexTree::addingChildMakesPlainElement_data()
{
    QTest::addColumn<QString>("preset");
    QTest::addColumn<QString>("how");

    for (const char* preset : {"isText", "isAttribute", "isComment"}) {
        for (const char* how : {"addChild", "descendantByPath", "copy"})
            QTest::addRow("%s by %s", preset, how) << QString(preset) << QString(how);
    }
}

void TestLumexTree::addingChildMakesPlainElement()
{
    QFETCH(QString, preset);
    QFETCH(QString, how);

    LumexTree tree(QString{});
    LumexTreeElement* config = tree.elementByPath({"quarnel_config"}, true);
    LumexTreeElement* node = config->addChild(QString());
    QVERIFY(setFlag(node, preset, true));
    LumexTreeElement* child = nullptr;
    if (how == "addChild")
        child = node->addChild("a");
    else if (how == "descendantByPath")
        child = node->descendantByPath({"quarnel_config", "", "a"}, false);
    else
        child = new LumexTreeElement(*config->addChild("source"), node);

    QCOMPARE(child->parentElement(), node);
    QVERIFY(!node->isText() && !node->isAttribute() && !node->isComment());
}

void TestLumexTree::baseElementId_data()
{
    QTest::addColumn<QList<qint64>>("ids");
    QTest::addColumn<int>("depth");
    QTest::addColumn<qint64>("expected");

    QTest::newRow("own id excluded") << QList<qint64>{0, 0, 9} << 2 << qint64(0);
    QTest::newRow("parent") << QList<qint64>{0, 4, 9} << 2 << qint64(4);
    QTest::newRow("nearest wins") << QList<qint64>{3, 4, 0, 0} << 3 << qint64(4);
    QTest::newRow("far ancestor") << QList<qint64>{3, 0, 0, 0} << 3 << qint64(3);
    QTest::newRow("below the root") << QList<qint64>{5} << 0 << qint64(0);
}

void TestLumexTree::baseElementId()
{
    QFETCH(QList<qint64>, ids);
    QFETCH(int, depth);
    QFETCH(qint64, expected);

    LumexTree tree(QString{});
    QList<LumexTreeElement*> chain;
    LumexTreeElement* node = tree.root();
    for (qint64 id : ids) {
        node = node->addChild("n");
        node->setElementId(id);
        chain << node;
    }
    QCOMPARE(chain.at(depth)->property("baseElementId").toLongLong(), expected);
    QCOMPARE(tree.root()->baseElementId(), 0);
}

void TestLumexTree::lookupAndPaths()
{
    LumexTree tree(QString{});
    QCOMPARE(tree.elementByPath({}, false), tree.root());
    LumexTreeElement* camera = tree.elementByPath({"quarnel_config", "camera"}, true);
    QVERIFY(camera->isSchemaCompliant() && camera->parentElement()->isSchemaCompliant());
    QCOMPARE(camera->path(), (QStringList{"quarnel_config", "camera"}));
    QCOMPARE(tree.elementByPath({"quarnel_config", "camera"}, false), camera);
    QVERIFY(camera->isSchemaCompliant());

    LumexTreeElement* a0 = camera->addChild("a");
    QVERIFY(!a0->isSchemaCompliant() && a0->value().isEmpty() && a0->elementId() == 0);
    LumexTreeElement* b0 = camera->addChild("b");
    LumexTreeElement* a1 = camera->addChild("a");
    QCOMPARE(camera->childByName("a", 1), a1);
    QCOMPARE(camera->childByName("a", 2), nullptr);
    QCOMPARE(camera->childByName("a", -1), nullptr);
    QCOMPARE(camera->childCount("a"), 2);
    QCOMPARE(camera->childElements("a"), (QList<LumexTreeElement*>{a0, a1}));
    QCOMPARE(camera->childElements(), (QList<LumexTreeElement*>{a0, b0, a1}));
    QCOMPARE(camera->childAt(3), nullptr);

    // The first child of a name is followed; missing levels take the flag, unless their parent is unknown.
    LumexTreeElement* x = tree.elementByPath({"quarnel_config", "camera", "a", "x"}, true);
    QCOMPARE(x->parentElement(), a0);
    QVERIFY(!x->isSchemaCompliant());
    QVERIFY(!tree.elementByPath({"quarnel_config", "vendor"}, false)->isSchemaCompliant());
    QCOMPARE(shape(tree.root()), QStringLiteral("(quarnel_config(camera(a(x),b,a),vendor))"));
}

void TestLumexTree::descendantByPath_data()
{
    QTest::addColumn<QStringList>("path");
    QTest::addColumn<QStringList>("expectedPath");

    QTest::newRow("itself") << QStringList{"a", "b"} << QStringList{"a", "b"};
    QTest::newRow("below") << QStringList{"a", "b", "c", "d"} << QStringList{"a", "b", "c", "d"};
    QTest::newRow("shorter") << QStringList{"a"} << QStringList{};
    QTest::newRow("other top") << QStringList{"x", "b", "c"} << QStringList{};
    QTest::newRow("sibling branch") << QStringList{"a", "c", "b"} << QStringList{};
}

void TestLumexTree::descendantByPath()
{
    QFETCH(QStringList, path);
    QFETCH(QStringList, expectedPath);

    LumexTree tree(QString{});
    LumexTreeElement* node = tree.elementByPath({"a", "b"}, true);
    const QString before = shape(tree.root());
    LumexTreeElement* found = node->descendantByPath(path, true);
    if (expectedPath.isEmpty()) {
        QCOMPARE(found, nullptr);
        QCOMPARE(shape(tree.root()), before);
    } else {
        QCOMPARE(found->path(), expectedPath);
        QVERIFY(found->isSchemaCompliant());
    }
}

void TestLumexTree::attachMode()
{
    LumexTree tree(QString{});
    LumexTreeElement* modeTemplate = addModeTemplate(tree);
    LumexTreeElement* modes = modeTemplate->parentElement();
    FakeModeElement first(1001);
    FakeModeElement second(1002);

    QCOMPARE(tree.attachMode(nullptr), nullptr);
    LumexTreeMode* mode = tree.attachMode(&first);
    QCOMPARE(modes->childElements().last(), mode);
    QCOMPARE(mode->modeObject(), &first);
    QVERIFY(mode->property("isModeElement").toBool() && !modeTemplate->isModeElement());
    QCOMPARE(mode->elementId(), 1001);
    mode->setElementId(5);
    QCOMPARE(mode->elementId(), 1001);
    QCOMPARE(shape(mode), shape(modeTemplate));
    LumexTreeElement* width = mode->childByName("Acquisition")->childByName("Width");
    QVERIFY(width->isSchemaCompliant() && width->value().isEmpty() && width->elementId() == 0);
    QCOMPARE(width->baseElementId(), 1001);
    QVERIFY(width->childByName("unit")->isAttribute());

    // The template is copied, not the newest attached mode.
    mode->childByName("Acquisition")->addChild("extra");
    LumexTreeMode* other = tree.attachMode(&second);
    QCOMPARE(shape(other), shape(modeTemplate));
    QCOMPARE(modes->modeNode(&second), other);
    QCOMPARE(tree.modeNode(&first), mode);
    QCOMPARE(tree.attachedModes(), (QList<LumexTreeMode*>{mode, other}));

    // Without the template recorded from the schema, attached modes alone are nothing to copy.
    QVERIFY(modes->removeChild(modeTemplate));
    QCOMPARE(tree.attachMode(&first), nullptr);
    LumexTree bare(QString{});
    QCOMPARE(bare.attachMode(&first), nullptr);
    QCOMPARE(shape(bare.root()), QStringLiteral("(quarnel_config(camera(modes)))"));

    // A tree that goes first must not be reached when its mode objects go later.
    auto shortLived = std::make_unique<LumexTree>(QString{});
    addModeTemplate(*shortLived);
    QVERIFY(shortLived->attachMode(&second));
    shortLived.reset();
}

void TestLumexTree::modeNodeGoesAway_data()
{
    QTest::addColumn<bool>("destroyObject");
    QTest::newRow("mode object destroyed") << true;
    QTest::newRow("removeMode called") << false;
}

void TestLumexTree::modeNodeGoesAway()
{
    QFETCH(bool, destroyObject);

    LumexTree tree(QString{});
    LumexTreeElement* modes = addModeTemplate(tree)->parentElement();
    auto modeObject = std::make_unique<FakeModeElement>(3);
    FakeModeElement survivor(4);
    QPointer<LumexTreeMode> mode = tree.attachMode(modeObject.get());
    tree.attachMode(&survivor);
    // Copies of attached modes belong to the same objects and go away with them.
    LumexTreeElement* modesCopy = new LumexTreeElement(*modes, modes->parentElement());
    QPointer<LumexTreeMode> copy = modesCopy->modeNode(modeObject.get());
    QCOMPARE(copy->elementId(), 3);

    if (destroyObject)
        modeObject.reset();
    else
        QMetaObject::invokeMethod(&tree, "removeMode", Q_ARG(QObject*, modeObject.get()));

    QCOMPARE(shape(modes),
             QStringLiteral("modes(mode(Acquisition(Width(unit))),mode(Acquisition(Width(unit))))"));
    QCOMPARE(shape(modesCopy), shape(modes));
    QCOMPARE(tree.attachedModes().size(), 2);
    QVERIFY(mode && !mode->parentElement());
    processDeferredDeletes();
    QVERIFY(!mode);
    QVERIFY(!copy);
}

void TestLumexTree::removeChildAt_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("removed");

    QTest::newRow("first") << 0 << "a";
    QTest::newRow("middle") << 1 << "b";
    QTest::newRow("last") << 2 << "c";
    QTest::newRow("past the end") << 99 << "c";
    QTest::newRow("just past the end") << 3 << "c";
    QTest::newRow("negative") << -1 << "c";
}

void TestLumexTree::removeChildAt()
{
    QFETCH(int, index);
    QFETCH(QString, removed);

    LumexTree tree(QString{});
    LumexTreeElement* node = tree.root()->addChild("n");
    QMap<QString, QPointer<LumexTreeElement>> children;
    for (const char* name : {"a", "b", "c"})
        children.insert(name, node->addChild(name));

    QVERIFY(node->removeChildAt(index));
    QCOMPARE(node->childCount(), 2);
    QCOMPARE(node->childCount(removed), 0);
    QVERIFY(children.value(removed) && !children.value(removed)->parentElement());
    processDeferredDeletes();
    for (auto it = children.cbegin(); it != children.cend(); ++it)
        QCOMPARE(it.value().isNull(), it.key() == removed);
}

void TestLumexTree::removeChildAndSelf()
{
    LumexTree tree(QString{});
    LumexTreeElement* node = tree.root()->addChild("n");
    QPointer<LumexTreeElement> a = node->addChild("a");
    QPointer<LumexTreeElement> b = node->addChild("b");

    QVERIFY(!node->removeChild(tree.root()->addChild("s")));
    QVERIFY(node->removeChild(a));
    QVERIFY(!node->removeChild(a));
    b->removeSelf();
    QCOMPARE(node->childCount(), 0);
    QVERIFY(!node->removeChildAt(0));
    QPointer<LumexTreeElement> detached = new LumexTreeElement(*node, nullptr);
    detached->removeSelf();
    processDeferredDeletes();
    QVERIFY(!a && !b && !detached);
}

void TestLumexTree::prune()
{
    LumexTree tree(QString{});
    LumexTreeElement* config = tree.elementByPath({"quarnel_config"}, true);
    tree.elementByPath({"quarnel_config", "camera", "modes", "mode", "Acquisition"}, true);
    tree.elementByPath({"quarnel_config", "camera", "Name"}, true)->setValue("value");
    tree.elementByPath({"quarnel_config", "camera", "vendor", "note"}, false);
    tree.elementByPath({"quarnel_config", "board", "Trigger"}, true);
    tree.elementByPath({"quarnel_config", "board", "unknown"}, false);

    config->prune();
    QCOMPARE(shape(config), QStringLiteral("quarnel_config(camera(vendor(note)),board(unknown))"));
}

void TestLumexTree::deepCopy()
{
    LumexTree tree(QString{});
    FakeModeElement modeObject(55);
    LumexTreeElement* modes = addModeTemplate(tree)->parentElement();
    modes->setValue("text");
    modes->setElementId(8);
    LumexTreeElement* comment = modes->addChild(QString());
    comment->setIsComment(true);
    comment->setValue("keep me");
    LumexTreeMode* mode = tree.attachMode(&modeObject);

    LumexTreeElement* camera = modes->parentElement();
    LumexTreeElement* copy = new LumexTreeElement(*modes, camera);
    QCOMPARE(camera->childElements().last(), copy);
    QCOMPARE(shape(copy), shape(modes));
    QVERIFY(copy->value().isEmpty() && copy->elementId() == 0 && copy->isSchemaCompliant());
    QVERIFY(copy->childAt(1)->isComment() && !copy->childAt(1)->isSchemaCompliant());
    QVERIFY(!copy->childAt(0)->isModeElement());
    auto* copiedMode = qobject_cast<LumexTreeMode*>(copy->childAt(2));
    QVERIFY(copiedMode && copiedMode->isModeElement());
    QCOMPARE(copiedMode->modeObject(), &modeObject);
    QCOMPARE(copiedMode->elementId(), 55);

    // Copying a node into itself copies what it held before, once.
    LumexTreeElement* acquisition = mode->childByName("Acquisition");
    new LumexTreeElement(*acquisition, acquisition);
    QCOMPARE(shape(acquisition), QStringLiteral("Acquisition(Width(unit),Acquisition(Width(unit)))"));

    // Under unknown content a copy cannot claim to be known to the schema.
    LumexTreeElement* foreign = new LumexTreeElement(*acquisition, camera->addChild("vendor"));
    QVERIFY(!foreign->isSchemaCompliant() && !foreign->allSchemaCompliant());

    QCOMPARE(shape(mode->cloneChild("Acquisition")), shape(acquisition));
    QCOMPARE(mode->childElements().last()->name(), QStringLiteral("Acquisition"));
    QCOMPARE(mode->cloneChild("Missing"), nullptr);

    const QStringList lines = copy->dump();
    QCOMPARE(lines.size(), 10);
    QVERIFY(lines.at(4).contains("Attribute") && lines.at(4).contains("unit"));
    QVERIFY(lines.at(5).contains("Comment"));
    QVERIFY(lines.at(6).contains("Mode"));
    QVERIFY(modes->dump().at(5).contains("keep me"));
}

QTEST_GUILESS_MAIN(TestLumexTree)
#include "tst_lumextree.moc"
