#include "LumexTree.h"
#include "LumexTreeElement.h"
#include "LumexTreeMode.h"

#include <QCoreApplication>
#include <QMetaProperty>
#include <QPointer>
#include <QTest>

#include <QMap>

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
    void treeInterface();
    void propertyOrder();
    void flagSetters_data();
    void flagSetters();
    void modeNodeKeepsItsKind();
    void schemaCompliance();
    void addingChildMakesPlainElement_data();
    void addingChildMakesPlainElement();
    void baseElementId_data();
    void baseElementId();
    void childLookup();
    void elementByPath();
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
    void dump();
};

void TestLumexTree::treeInterface()
{
    LumexTree tree(QStringLiteral("/cams/a.lumex"));
    QCOMPARE(tree.property("file").toString(), QStringLiteral("/cams/a.lumex"));
    QVERIFY(tree.setProperty("file", QStringLiteral("/cams/b.lumex")));
    QCOMPARE(tree.file(), QStringLiteral("/cams/b.lumex"));
    QCOMPARE(tree.metaObject()->propertyCount() - tree.metaObject()->propertyOffset(), 1);
    QVERIFY(tree.metaObject()->indexOfSlot("removeMode(QObject*)") >= 0);

    LumexTreeElement* root = tree.root();
    QVERIFY(root);
    QVERIFY(root->name().isEmpty());
    QVERIFY(!root->parentElement());
    QCOMPARE(root->parent(), &tree);
    QCOMPARE(root->tree(), &tree);
    QVERIFY(root->isSchemaCompliant());
    QVERIFY(root->path().isEmpty());
    QCOMPARE(root->baseElementId(), 0);
}

void TestLumexTree::propertyOrder()
{
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
    QCOMPARE(LumexTreeMode::staticMetaObject.indexOfProperty("isModeElement"),
             meta.indexOfProperty("isModeElement"));
}

void TestLumexTree::flagSetters_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("withChild");
    QTest::addColumn<QString>("preset");
    QTest::addColumn<QString>("flag");
    QTest::addColumn<bool>("request");
    QTest::addColumn<bool>("returned");
    // Expected flags afterwards, in the order text, attribute, comment, schema compliant.
    QTest::addColumn<QString>("flags");

    QTest::newRow("text clears attribute") << "" << false << "isAttribute"
                                           << "isText" << true << true << "1001";
    QTest::newRow("text clears comment") << "" << false << "isComment"
                                         << "isText" << true << true << "1000";
    QTest::newRow("text refused with name") << "w" << false << ""
                                            << "isText" << true << false << "0001";
    QTest::newRow("text refused with child") << "" << true << ""
                                             << "isText" << true << false << "0001";
    QTest::newRow("text cleared") << "" << false << "isText"
                                  << "isText" << false << true << "0001";
    QTest::newRow("comment leaves schema") << "" << false << "isText"
                                           << "isComment" << true << true << "0010";
    QTest::newRow("comment refused with name") << "w" << false << ""
                                               << "isComment" << true << false << "0001";
    QTest::newRow("comment refused with child") << "" << true << ""
                                                << "isComment" << true << false << "0001";
    QTest::newRow("attribute with name") << "unit" << false << ""
                                         << "isAttribute" << true << true << "0101";
    QTest::newRow("attribute clears text") << "" << false << "isText"
                                           << "isAttribute" << true << true << "0101";
    QTest::newRow("attribute clears comment") << "" << false << "isComment"
                                              << "isAttribute" << true << true << "0100";
    QTest::newRow("attribute refused with child") << "a" << true << ""
                                                  << "isAttribute" << true << false << "0001";
    QTest::newRow("compliant clears comment") << "" << false << "isComment"
                                              << "isSchemaCompliant" << true << true << "0001";
    QTest::newRow("compliant already") << "a" << false << ""
                                       << "isSchemaCompliant" << true << true << "0001";
    QTest::newRow("not compliant") << "a" << false << "isAttribute"
                                   << "isSchemaCompliant" << false << true << "0100";
}

void TestLumexTree::flagSetters()
{
    QFETCH(QString, name);
    QFETCH(bool, withChild);
    QFETCH(QString, preset);
    QFETCH(QString, flag);
    QFETCH(bool, request);
    QFETCH(bool, returned);
    QFETCH(QString, flags);

    LumexTree tree(QString{});
    LumexTreeElement* node = tree.elementByPath({"quarnel_config", name}, true);
    if (!preset.isEmpty())
        QVERIFY(setFlag(node, preset, true));
    if (withChild)
        node->addChild("child");

    QCOMPARE(setFlag(node, flag, request), returned);
    const QString actual = QString::number(node->isText()) + QString::number(node->isAttribute()) +
                           QString::number(node->isComment()) + QString::number(node->isSchemaCompliant());
    QCOMPARE(actual, flags);
    QCOMPARE(node->property(flag.toLatin1()).toBool() == request, returned);
}

void TestLumexTree::modeNodeKeepsItsKind()
{
    LumexTree tree(QString{});
    FakeModeElement modeObject(42);
    tree.elementByPath(modesPath + QStringList{"mode"}, true);
    LumexTreeMode* mode = tree.attachMode(&modeObject);
    QVERIFY(mode);
    QVERIFY(mode->addChild("Acquisition")->setIsSchemaCompliant(true));

    for (const char* flag : {"isText", "isAttribute", "isComment"})
        QVERIFY2(!setFlag(mode, flag, true), flag);
    QVERIFY(!mode->setIsSchemaCompliant(false));
    QVERIFY(!mode->isText() && !mode->isAttribute() && !mode->isComment());
    QVERIFY(mode->allSchemaCompliant());
    mode->setElementId(5);
    QCOMPARE(mode->elementId(), 42);
}

void TestLumexTree::schemaCompliance()
{
    LumexTree tree(QString{});
    LumexTreeElement* config = tree.elementByPath({"quarnel_config"}, true);
    LumexTreeElement* unknown = config->addChild("vendor");
    LumexTreeElement* below = unknown->addChild("x");
    QVERIFY(!below->setIsSchemaCompliant(true));
    QVERIFY(!below->isSchemaCompliant());

    LumexTreeElement* deep = tree.elementByPath({"quarnel_config", "camera", "modes", "mode"}, true);
    LumexTreeElement* camera = deep->parentElement()->parentElement();
    QVERIFY(config->allSchemaCompliant() == false);
    QVERIFY(camera->allSchemaCompliant());
    QVERIFY(camera->setIsSchemaCompliant(false));
    QVERIFY(!camera->allSchemaCompliant());
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
    LumexTreeElement* source = config->addChild("source");

    LumexTreeElement* child = nullptr;
    if (how == "addChild")
        child = node->addChild("a");
    else if (how == "descendantByPath")
        child = node->descendantByPath({"quarnel_config", "", "a"}, false);
    else
        child = new LumexTreeElement(*source, node);

    QVERIFY(child);
    QCOMPARE(child->parentElement(), node);
    QVERIFY(!node->isText());
    QVERIFY(!node->isAttribute());
    QVERIFY(!node->isComment());
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
    QTest::newRow("none") << QList<qint64>{0, 0, 0} << 2 << qint64(0);
    QTest::newRow("top") << QList<qint64>{5} << 0 << qint64(0);
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
    QCOMPARE(chain.at(depth)->baseElementId(), expected);
    QCOMPARE(chain.at(depth)->property("baseElementId").toLongLong(), expected);
}

void TestLumexTree::childLookup()
{
    LumexTree tree(QString{});
    LumexTreeElement* node = tree.root()->addChild("category");
    LumexTreeElement* a0 = node->addChild("a");
    LumexTreeElement* b0 = node->addChild("b");
    LumexTreeElement* a1 = node->addChild("a");

    QCOMPARE(node->childByName("a"), a0);
    QCOMPARE(node->childByName("a", 1), a1);
    QCOMPARE(node->childByName("a", 2), nullptr);
    QCOMPARE(node->childByName("a", -1), nullptr);
    QCOMPARE(node->childByName("c"), nullptr);
    QCOMPARE(node->childCount("a"), 2);
    QCOMPARE(node->childCount("c"), 0);
    QCOMPARE(node->childCount(), 3);
    QCOMPARE(node->childElements("a"), (QList<LumexTreeElement*>{a0, a1}));
    QCOMPARE(node->childElements(), (QList<LumexTreeElement*>{a0, b0, a1}));
    QCOMPARE(node->childAt(1), b0);
    QCOMPARE(node->childAt(3), nullptr);
    QCOMPARE(a1->path(), (QStringList{"category", "a"}));

    QVERIFY(!a0->isSchemaCompliant() && !a0->isText() && !a0->isAttribute() && !a0->isComment());
    QCOMPARE(a0->elementId(), 0);
    QVERIFY(a0->value().isEmpty());
    QCOMPARE(a0->parent(), node);
}

void TestLumexTree::elementByPath()
{
    LumexTree tree(QString{});
    QCOMPARE(tree.elementByPath({}, false), tree.root());

    LumexTreeElement* camera = tree.elementByPath({"quarnel_config", "camera"}, true);
    QCOMPARE(camera->path(), (QStringList{"quarnel_config", "camera"}));
    QVERIFY(camera->isSchemaCompliant());
    QVERIFY(camera->parentElement()->isSchemaCompliant());
    QCOMPARE(tree.elementByPath({"quarnel_config", "camera"}, false), camera);
    QVERIFY(camera->isSchemaCompliant());

    LumexTreeElement* vendor = tree.elementByPath({"quarnel_config", "camera", "vendor"}, false);
    QVERIFY(!vendor->isSchemaCompliant());
    QVERIFY(camera->isSchemaCompliant());
    LumexTreeElement* underVendor = tree.elementByPath({"quarnel_config", "camera", "vendor", "x"}, true);
    QVERIFY(!underVendor->isSchemaCompliant());

    LumexTreeElement* second = camera->addChild("vendor");
    QCOMPARE(tree.elementByPath({"quarnel_config", "camera", "vendor", "x"}, true), underVendor);
    QCOMPARE(second->childCount(), 0);
    QCOMPARE(shape(tree.root()), QStringLiteral("(quarnel_config(camera(vendor(x),vendor)))"));
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
    QTest::newRow("empty") << QStringList{} << QStringList{};
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
        QVERIFY(found);
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
    QVERIFY(mode);
    QCOMPARE(modes->childElements().last(), mode);
    QCOMPARE(mode->parent(), modes);
    QCOMPARE(mode->modeObject(), &first);
    QVERIFY(mode->isModeElement());
    QVERIFY(mode->property("isModeElement").toBool());
    QVERIFY(!modeTemplate->isModeElement());
    QCOMPARE(mode->elementId(), 1001);
    QCOMPARE(shape(mode), shape(modeTemplate));

    LumexTreeElement* width = mode->childByName("Acquisition")->childByName("Width");
    QVERIFY(width->isSchemaCompliant());
    QVERIFY(width->value().isEmpty());
    QCOMPARE(width->elementId(), 0);
    QCOMPARE(width->baseElementId(), 1001);
    QVERIFY(width->childByName("unit")->isAttribute());
    QVERIFY(width->childByName("unit")->value().isEmpty());

    // The template is copied, not the newest attached mode.
    mode->childByName("Acquisition")->addChild("extra");
    LumexTreeMode* other = tree.attachMode(&second);
    QCOMPARE(shape(other), shape(modeTemplate));
    QCOMPARE(modes->modeNode(&first), mode);
    QCOMPARE(modes->modeNode(&second), other);
    QCOMPARE(modeTemplate->modeNode(&first), nullptr);
    QCOMPARE(tree.modeNode(&second), other);
    QCOMPARE(tree.attachedModes(), (QList<LumexTreeMode*>{mode, other}));

    // Without the template recorded from the schema, attached modes alone are nothing to copy.
    QVERIFY(modes->removeChild(modeTemplate));
    QVERIFY(modes->childByName("mode")->isModeElement());
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
    QVERIFY(copy);
    QCOMPARE(copy->elementId(), 3);
    QCOMPARE(modes->childCount(), 3);
    QCOMPARE(modesCopy->childCount(), 3);

    if (destroyObject)
        modeObject.reset();
    else
        QMetaObject::invokeMethod(&tree, "removeMode", Q_ARG(QObject*, modeObject.get()));

    QCOMPARE(modes->childCount(), 2);
    QCOMPARE(modesCopy->childCount(), 2);
    QVERIFY(modes->modeNode(&survivor));
    QCOMPARE(modes->modeNode(&survivor), tree.modeNode(&survivor));
    QCOMPARE(tree.attachedModes().size(), 2);
    QVERIFY(mode);
    QVERIFY(!mode->parentElement());
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
    QVERIFY(children.value(removed));
    QVERIFY(!children.value(removed)->parentElement());
    processDeferredDeletes();
    for (auto it = children.cbegin(); it != children.cend(); ++it)
        QCOMPARE(it.value().isNull(), it.key() == removed);

    QVERIFY(node->removeChildAt(0));
    QVERIFY(node->removeChildAt(0));
    QVERIFY(!node->removeChildAt(0));
}

void TestLumexTree::removeChildAndSelf()
{
    LumexTree tree(QString{});
    LumexTreeElement* node = tree.root()->addChild("n");
    QPointer<LumexTreeElement> a = node->addChild("a");
    QPointer<LumexTreeElement> b = node->addChild("b");
    LumexTreeElement* stranger = tree.root()->addChild("s");

    QVERIFY(!node->removeChild(stranger));
    QVERIFY(!node->removeChild(nullptr));
    QVERIFY(node->removeChild(a));
    QVERIFY(!node->removeChild(a));
    QVERIFY(a);
    QVERIFY(!a->parentElement());
    b->removeSelf();
    QCOMPARE(node->childCount(), 0);

    QPointer<LumexTreeElement> detached = new LumexTreeElement(*node, nullptr);
    QVERIFY(!detached->parent());
    detached->removeSelf();
    processDeferredDeletes();
    QVERIFY(!a);
    QVERIFY(!b);
    QVERIFY(!detached);
    QCOMPARE(shape(tree.root()), QStringLiteral("(n,s)"));
}

void TestLumexTree::prune()
{
    LumexTree tree(QString{});
    LumexTreeElement* config = tree.elementByPath({"quarnel_config"}, true);
    tree.elementByPath({"quarnel_config", "camera", "modes", "mode", "Acquisition"}, true);
    tree.elementByPath({"quarnel_config", "camera", "Name"}, true)->setValue("kept?");
    tree.elementByPath({"quarnel_config", "camera", "vendor", "note"}, false);
    tree.elementByPath({"quarnel_config", "board", "Trigger"}, true);
    tree.elementByPath({"quarnel_config", "board", "unknown"}, false);
    QPointer<LumexTreeElement> modes = tree.elementByPath({"quarnel_config", "camera", "modes"}, true);

    config->prune();
    QCOMPARE(shape(config), QStringLiteral("quarnel_config(camera(vendor(note)),board(unknown))"));
    QVERIFY(modes);
    processDeferredDeletes();
    QVERIFY(!modes);
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
    mode->childByName("Acquisition")->childByName("Width")->setElementId(99);

    LumexTreeElement* camera = modes->parentElement();
    LumexTreeElement* copy = new LumexTreeElement(*modes, camera);
    QCOMPARE(camera->childElements().last(), copy);
    QCOMPARE(shape(copy), shape(modes));
    QVERIFY(copy->value().isEmpty());
    QCOMPARE(copy->elementId(), 0);
    QVERIFY(copy->isSchemaCompliant());
    QVERIFY(copy->childAt(1)->isComment());
    QVERIFY(!copy->childAt(1)->isSchemaCompliant());
    QVERIFY(copy->childAt(1)->value().isEmpty());
    QVERIFY(!copy->childAt(0)->isModeElement());
    auto* copiedMode = static_cast<LumexTreeMode*>(copy->childAt(2));
    QVERIFY(copiedMode->isModeElement());
    QCOMPARE(copiedMode->modeObject(), &modeObject);
    QCOMPARE(copiedMode->elementId(), 55);
    QCOMPARE(copiedMode->childByName("Acquisition")->childByName("Width")->elementId(), 0);

    // Copying a node into itself copies what it held before, once.
    LumexTreeElement* acquisition = mode->childByName("Acquisition");
    LumexTreeElement* self = new LumexTreeElement(*acquisition, acquisition);
    QCOMPARE(shape(acquisition), QStringLiteral("Acquisition(Width(unit),Acquisition(Width(unit)))"));
    QCOMPARE(self->parentElement(), acquisition);

    // Under unknown content a copy cannot claim to be known to the schema.
    LumexTreeElement* vendor = camera->addChild("vendor");
    LumexTreeElement* foreign = new LumexTreeElement(*acquisition, vendor);
    QVERIFY(!foreign->isSchemaCompliant());
    QVERIFY(!foreign->allSchemaCompliant());

    LumexTreeElement* clone = mode->cloneChild("Acquisition");
    QCOMPARE(mode->childElements().last(), clone);
    QCOMPARE(shape(clone), shape(acquisition));
    QCOMPARE(mode->cloneChild("Missing"), nullptr);
}

void TestLumexTree::dump()
{
    LumexTree tree(QString{});
    FakeModeElement modeObject(5);
    LumexTreeElement* modes = addModeTemplate(tree)->parentElement();
    LumexTreeElement* text = modes->addChild(QString());
    text->setIsText(true);
    text->setValue("stray text");
    LumexTreeElement* comment = modes->addChild(QString());
    comment->setIsComment(true);
    comment->setValue("a remark");
    tree.attachMode(&modeObject);

    const QStringList lines = tree.root()->dump();
    const QList<QStringList> expected{{"Element"},
                                      {"Element", "quarnel_config"},
                                      {"Element", "camera"},
                                      {"Element", "modes"},
                                      {"Element", "mode"},
                                      {"Element", "Acquisition"},
                                      {"Element", "Width", "640"},
                                      {"Attribute", "unit", "px"},
                                      {"Text", "stray text"},
                                      {"Comment", "a remark"},
                                      {"Mode", "mode"},
                                      {"Element", "Acquisition"},
                                      {"Element", "Width"},
                                      {"Attribute", "unit"}};
    QCOMPARE(lines.size(), expected.size());
    for (int i = 0; i < lines.size(); ++i) {
        for (const QString& part : expected.at(i))
            QVERIFY2(lines.at(i).contains(part), qPrintable(lines.at(i) + " lacks " + part));
    }
}

QTEST_GUILESS_MAIN(TestLumexTree)
#include "tst_lumextree.moc"
