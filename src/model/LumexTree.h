#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QVector>

#include <memory>

namespace Lumex {
class LumexSource;
}

namespace Orvex {

class LumexTreeElement;
class LumexTreeMode;

// The camera file of one open document, held in memory with everything it contains.
class LumexTree : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString file READ file WRITE setFile)

public:
    explicit LumexTree(const QString& a_file, QObject* a_parent = nullptr);
    ~LumexTree() override;

    QString file() const { return m_file; }
    void setFile(const QString& a_file);

    // The text the file was read from, so that saving changes it only where the content changed; null
    // for a document with no layout to keep.
    std::shared_ptr<const Lumex::LumexSource> source() const;
    void setSource(std::shared_ptr<const Lumex::LumexSource> a_source);
    // Keeps the text the file was read from; its layout is read by the first call of source(), that is
    // by the first save, so that opening a file does not pay for reading it twice.
    void setSourceText(const QByteArray& a_text);
    // The text the file was read from; null when there is none.
    QByteArray sourceText() const;

    // Stands above the file's own root element "quarnel_config".
    LumexTreeElement* root() const;

    // Walks the names down from the root, creating what is missing with a_schemaCompliant.
    LumexTreeElement* elementByPath(const QStringList& a_path, bool a_schemaCompliant);

    // Appends a node for a_modeObj with the attributes of the mode template the schema recorded; what
    // the mode holds is read into it. The node goes away with the object. Null when a_modeObj is null or
    // the schema recorded no mode template.
    LumexTreeMode* attachMode(QObject* a_modeObj);
    LumexTreeMode* modeNode(const QObject* a_modeObj) const;
    QList<LumexTreeMode*> attachedModes() const;

public slots:
    void removeMode(QObject* a_modeObj);

private:
    friend class LumexTreeMode;
    void trackMode(LumexTreeMode* a_node, QObject* a_modeObj);

    struct AttachedMode
    {
        // Compared only, never dereferenced: by the time destroyed() reaches us the object is
        // half gone and every guarded pointer to it is already null.
        const QObject* m_modeObject = nullptr;
        QPointer<LumexTreeMode> m_node;
    };

    QString m_file;
    mutable std::shared_ptr<const Lumex::LumexSource> m_source;
    mutable QByteArray m_sourceText;
    // Owned; deleted before the rest of the tree's state, which its mode nodes refer to.
    LumexTreeElement* m_root = nullptr;
    QList<AttachedMode> m_modes;
    // The nodes of m_modes by mode, in the same order: finding a mode's node by going over every mode
    // would make loading and saving a file of many modes quadratic.
    QHash<const QObject*, QVector<QPointer<LumexTreeMode>>> m_nodesByMode;
};

} // namespace Orvex
