#include "trend/window/frmChooser.h"

#include "core/WindowPlace.h"

#include <QKeyEvent>

frmChooser::frmChooser(const MakeLibrary& make, QWidget* parent)
    : QDialog(parent)
    , m_Feed(make)
{
    setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);
    SetFirstSize(*this, {60 * fontMetrics().averageCharWidth(), 26 * fontMetrics().height()});
    lstItem->setModel(&m_Items);
    txtFind->installEventFilter(this);
    connect(txtFind, &QLineEdit::textChanged, &m_Items, &ItemListModel::SetText);
    connect(&m_Items, &ItemListModel::Searched, this, &frmChooser::SayCount);
    connect(lstItem, &QListView::doubleClicked, this, &frmChooser::cmdAdd_Click);
    connect(cmdAdd, &QPushButton::clicked, this, &frmChooser::cmdAdd_Click);
    connect(cmdClose, &QPushButton::clicked, this, &QDialog::close);
    connect(&*m_Feed, &ItemListFeed::Listed, &m_Items, &ItemListModel::Append);
    connect(&*m_Feed, &ItemListFeed::Finished, this, [this](const QString& trouble) {
        m_Trouble = trouble;
        m_IsComplete = true;
        SayCount();
    });
    m_Feed.Run([](ItemListFeed& feed) { feed.List(); });
}

/// Up and Down move in the list while the text is typed.
bool frmChooser::eventFilter(QObject* watched, QEvent* event)
{
    if (watched != txtFind || event->type() != QEvent::KeyPress) return QDialog::eventFilter(watched, event);
    const int key = static_cast<QKeyEvent*>(event)->key();
    const bool moves = key == Qt::Key_Up || key == Qt::Key_Down || key == Qt::Key_PageUp || key == Qt::Key_PageDown;
    if (!moves) return QDialog::eventFilter(watched, event);
    QCoreApplication::sendEvent(lstItem, event);
    return true;
}

/// Without a selection: the only one that is listed.
void frmChooser::cmdAdd_Click()
{
    QStringList items;
    for (const QModelIndex& index : lstItem->selectionModel()->selectedIndexes())
        items.append(m_Items.Name(index.row()));
    if (items.isEmpty() && m_Items.rowCount() == 1) items.append(m_Items.Name(0));
    if (!items.isEmpty()) Q_EMIT Chosen(items);
}

void frmChooser::SayCount()
{
    if (!m_Trouble.isEmpty()) return lblCount->setText(m_Trouble);
    const QString more = m_IsComplete && !m_Items.IsSearching() ? QString() : QStringLiteral(" ...");
    lblCount->setText(QStringLiteral("%1 of %2 items%3").arg(m_Items.rowCount()).arg(m_Items.Total()).arg(more));
}
