#pragma once

#include <QAbstractListModel>
#include <QStringList>
#include <QStringMatcher>
#include <QTimer>

#include <vector>

/// Names of items, of which those are listed that contain every word of a text; letter case does not matter. There may
/// be a million: they are looked through in short turns.
class ItemListModel : public QAbstractListModel
{
    Q_OBJECT

public:
    explicit ItemListModel(QObject* parent = nullptr);

    void Append(const QStringList& items);
    void SetText(const QString& text);
    const QString& Name(int row) const { return m_Items.at(m_Hits.at(static_cast<std::size_t>(row))); }
    qsizetype Total() const { return m_Items.size(); }
    bool IsSearching() const { return m_Next < m_Items.size(); }

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

Q_SIGNALS:
    /// Some more have been looked through.
    void Searched();

private:
    void Search();
    bool IsHit(const QString& item) const;

    QStringList m_Items;
    QList<QStringMatcher> m_Words;
    std::vector<qsizetype> m_Hits;
    qsizetype m_Next = 0; ///< to be looked at
    QTimer m_Turn;
};
