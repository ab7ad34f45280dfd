#pragma once

#include <QAbstractItemModel>
#include <QPointer>
#include <QString>

namespace Orvex {

class ValueFeatureElementBase;

// The rows a string feature's line edit offers while the user types. This base is a flat table without
// rows; derived models answer rowCount() and data() from what they learn through sourceChanged() (which
// instance of which feature the completion popup is open for) and latestValueChanged() (what is being
// typed there). One model may serve the line edits of many features, one popup at a time.
class StringFeatureCompleterItemModel : public QAbstractItemModel
{
    Q_OBJECT
    Q_PROPERTY(int completionColumn READ completionColumn CONSTANT)
    Q_PROPERTY(QString latestValue READ latestValue WRITE setLatestValue)

public:
    // A negative column counts as column 0.
    explicit StringFeatureCompleterItemModel(int a_completionColumn = 0, QObject* a_parent = nullptr);
    ~StringFeatureCompleterItemModel() override;

    int completionColumn() const { return m_completionColumn; }

    QString latestValue() const { return m_latestValue; }
    void setLatestValue(const QString& a_value);

    // Null and -1 while no popup is open (or once the element is gone, for the element).
    ValueFeatureElementBase* sourceElement() const;
    int sourceIndex() const { return m_sourceIndex; }
    // Nothing happens when both equal the current source; otherwise sourceChanged() follows.
    void setSource(ValueFeatureElementBase* a_element, int a_index);
    void clearSource();

    QModelIndex index(int a_row, int a_column, const QModelIndex& a_parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& a_child) const override;
    int rowCount(const QModelIndex& a_parent = QModelIndex()) const override;
    // Up to and including the completion column, so that the completer's column exists.
    int columnCount(const QModelIndex& a_parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& a_index, int a_role = Qt::DisplayRole) const override;

    // A few words that tell what a_value stands for, which a view may show beside it (a register's name
    // beside its address); the value itself stays as it is. Empty when the model knows nothing of it.
    virtual QString valueNote(const QString& a_value) const;

signals:
    // What valueNote tells may have changed for any value.
    void valueNotesChanged();

protected:
    virtual void sourceChanged(ValueFeatureElementBase* a_element, int a_index);
    virtual void latestValueChanged(const QString& a_value);

private:
    QPointer<ValueFeatureElementBase> m_sourceElement;
    int m_sourceIndex = -1;
    const int m_completionColumn;
    QString m_latestValue;
};

} // namespace Orvex
