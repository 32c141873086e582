#include "controller/EventLines.h"

#include "core/DisplayText.h"

void EventLines::Append(const QString& line)
{
    m_Ends.append(m_Text.size() + line.size());
    try {
        m_Text += line;
    } catch (...) {
        m_Ends.removeLast();
        throw;
    }
}

void EventLines::Announce()
{
    const int count = static_cast<int>(m_Ends.size());
    if (count == m_Rows) return;
    beginInsertRows({}, m_Rows, count - 1);
    m_Rows = count;
    endInsertRows();
}

void EventLines::Clear()
{
    beginResetModel();
    m_Text = QString();
    m_Ends = {};
    m_Rows = 0;
    endResetModel();
}

QString EventLines::Line(qsizetype index) const
{
    const qsizetype begin = index == 0 ? 0 : m_Ends.at(index - 1);
    return m_Text.mid(begin, m_Ends.at(index) - begin);
}

QString EventLines::Text() const
{
    QString text;
    text.reserve(m_Text.size() + m_Ends.size());
    qsizetype begin = 0;
    for (const qsizetype end : m_Ends) {
        text += QStringView(m_Text).sliced(begin, end - begin);
        text += u'\n';
        begin = end;
    }
    text.chop(1);
    return text;
}

int EventLines::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : m_Rows;
}

QVariant EventLines::data(const QModelIndex& index, int role) const
{
    if (!index.isValid()) return {};
    if (role == Qt::DisplayRole) return Line(index.row());
    if (role == Qt::ToolTipRole) return ToolTipHtml(Line(index.row()));
    return {};
}
