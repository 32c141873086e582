#include "trend/window/ItemListModel.h"

#include "core/DisplayText.h"

#include <QElapsedTimer>

#include <algorithm>

namespace {

constexpr int TurnMs = 8;
constexpr qsizetype Together = 1000;

} // namespace

ItemListModel::ItemListModel(QObject* parent)
    : QAbstractListModel(parent)
{
    connect(&m_Turn, &QTimer::timeout, this, &ItemListModel::Search);
}

void ItemListModel::Append(const QStringList& items)
{
    m_Items += items;
    m_Turn.start(0);
}

void ItemListModel::SetText(const QString& text)
{
    m_Words.clear();
    for (const QString& word : text.split(u' ', Qt::SkipEmptyParts))
        m_Words.append(QStringMatcher(word, Qt::CaseInsensitive));
    beginResetModel();
    m_Hits.clear();
    m_Next = 0;
    endResetModel();
    m_Turn.start(0);
}

bool ItemListModel::IsHit(const QString& item) const
{
    return std::all_of(m_Words.begin(), m_Words.end(),
                       [&](const QStringMatcher& word) { return word.indexIn(item) >= 0; });
}

void ItemListModel::Search()
{
    QElapsedTimer time;
    time.start();
    std::vector<qsizetype> hits;
    while (IsSearching() && time.elapsed() < TurnMs) {
        const qsizetype end = std::min(m_Next + Together, m_Items.size());
        for (; m_Next < end; ++m_Next) {
            if (IsHit(m_Items.at(m_Next))) hits.push_back(m_Next);
        }
    }
    if (!hits.empty()) {
        beginInsertRows({}, rowCount(), rowCount() + static_cast<int>(hits.size()) - 1);
        m_Hits.insert(m_Hits.end(), hits.begin(), hits.end());
        endInsertRows();
    }
    if (!IsSearching()) m_Turn.stop();
    Q_EMIT Searched();
}

int ItemListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_Hits.size());
}

QVariant ItemListModel::data(const QModelIndex& index, int role) const
{
    return index.isValid() && role == Qt::DisplayRole ? QVariant(OneLine(Name(index.row()))) : QVariant();
}
