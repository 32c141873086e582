#include "core/ChildWindow.h"

#include "core/ChildFrame.h"
#include "core/modMain.h"
#include "core/WindowPlace.h"

#include <QCloseEvent>
#include <QLayout>
#include <QMdiArea>

namespace {

QList<ChildWindow*>& OpenForms()
{
    static QList<ChildWindow*> Forms;
    return Forms;
}

/// What the controls have come to ask for while the window was loaded reaches it only when it is shown, otherwise.
void SettleLayouts(QWidget& window)
{
    QList<QWidget*> widgets = window.findChildren<QWidget*>();
    widgets.prepend(&window);
    for (auto widget = widgets.rbegin(); widget != widgets.rend(); ++widget) { // children before their parents
        if (!(*widget)->layout()) continue;
        (*widget)->layout()->invalidate();
        (*widget)->layout()->activate();
    }
}

/// As large as the window asks for, unless the area is known to be smaller; then as large as the area, if the window
/// allows that.
QSize FirstSize(const QMdiArea& area, const QMdiSubWindow& frame)
{
    const QSize size = frame.sizeHint();
    return area.isVisible() ? size.boundedTo(area.viewport()->size()).expandedTo(frame.minimumSizeHint()) : size;
}

/// Hidden frames take no room.
WindowRoom RoomIn(const QMdiArea& area)
{
    WindowRoom room{area.viewport()->size(), 0, {}};
    const auto frames = area.subWindowList(QMdiArea::StackingOrder);
    for (auto frame = frames.rbegin(); frame != frames.rend(); ++frame) {
        room.TitleHeight = (*frame)->contentsMargins().top();
        if ((*frame)->isVisible()) room.Taken << static_cast<const ChildFrame*>(*frame)->Place();
    }
    return room;
}

/// The frame that was active before this one, or null.
QMdiSubWindow* FrameBefore(const QMdiSubWindow& frame)
{
    const auto frames = frame.mdiArea()->subWindowList(QMdiArea::ActivationHistoryOrder);
    const auto takesOver = [&](const QMdiSubWindow* other) {
        return other != &frame && other->isVisible() && !other->isMinimized();
    };
    const auto before = std::find_if(frames.rbegin(), frames.rend(), takesOver);
    return before == frames.rend() ? nullptr : *before;
}

} // namespace

ChildWindow::ChildWindow() = default;

ChildWindow::~ChildWindow()
{
    OpenForms().removeOne(this);
}

const QList<ChildWindow*>& ChildWindow::Forms()
{
    return OpenForms();
}

void ChildWindow::UnloadAll()
{
    while (!OpenForms().isEmpty()) OpenForms().constFirst()->Unload();
}

ChildWindow* ChildWindow::HostAndLoad(ChildWindow* form, const TreeNodeRef& node)
{
    form->m_TreeNode = node;
    form->Host();
    OpenForms().append(form);
    const QPointer<ChildWindow> self(form);
    const KeepLoaded keepLoaded(form);
    try {
        if (!form->Load()) form->Unload();
    } catch (...) {
        form->Unload();
        throw;
    }
    return self && !self->m_Unloading ? form : nullptr;
}

void ChildWindow::Host()
{
    QMdiArea& area = modMain::GetMainWindow()->ChildArea();
    m_Frame = new ChildFrame(area.viewport());
    m_Frame->setWidget(this);
    m_Frame->setAttribute(Qt::WA_DeleteOnClose, false);
    area.addSubWindow(m_Frame);
    m_Frame->hide();
    connect(this, &QObject::destroyed, m_Frame, &QObject::deleteLater); // whoever deletes it
}

void ChildWindow::Place()
{
    const QMdiArea& area = *m_Frame->mdiArea();
    SettleLayouts(*m_Frame);
    const QSize size = FirstSize(area, *m_Frame);
    m_Frame->setGeometry({LeastCoveringPlace(RoomIn(area), size), size});
}

void ChildWindow::ShowForm()
{
    if (m_Unloading || !m_Frame) return;
    if (!std::exchange(m_IsPlaced, true)) Place();
    if (m_Frame->isMinimized()) m_Frame->showNormal();
    show();
    m_Frame->show();
    m_Frame->raise();
    m_Frame->mdiArea()->setActiveSubWindow(m_Frame);
}

void ChildWindow::HideForm()
{
    if (m_Unloading || !m_Frame) return;
    QMdiArea* area = m_Frame->mdiArea();
    const bool wasActive = area->activeSubWindow() == m_Frame;
    QMdiSubWindow* before = wasActive ? FrameBefore(*m_Frame) : nullptr;
    // While the frame is still there: it hands on that it is maximised.
    if (before) area->setActiveSubWindow(before);
    m_Frame->hide();
    if (wasActive && !before) area->setActiveSubWindow(nullptr);
}

void ChildWindow::Unload()
{
    if (m_Unloading) return;
    HideForm();
    m_Unloading = true;
    OpenForms().removeOne(this);
    if (m_Frame) m_Frame->mdiArea()->removeSubWindow(m_Frame);
    if (m_KeptLoaded == 0) Release();
}

void ChildWindow::Release()
{
    RunFormUnload();
    if (m_Frame) m_Frame->deleteLater();
}

void ChildWindow::RunFormUnload()
{
    if (std::exchange(m_FormUnloadDone, true)) return;
    m_Unloading = true;
    OpenForms().removeOne(this);
    FormUnload();
}

void ChildWindow::closeEvent(QCloseEvent* event)
{
    event->setAccepted(MayClose());
    if (event->isAccepted()) Unload();
}

ChildWindow::KeepLoaded::KeepLoaded(ChildWindow* form)
    : m_Form(form)
{
    ++form->m_KeptLoaded;
}

ChildWindow::KeepLoaded::~KeepLoaded()
{
    if (m_Form && --m_Form->m_KeptLoaded == 0 && m_Form->m_Unloading) m_Form->Release();
}

ChildWindow* modMain::FindFormByNode(const QString& key)
{
    for (ChildWindow* form : ChildWindow::Forms()) {
        if (form->m_TreeNode && form->m_TreeNode->Key() == key) return form;
    }
    return nullptr;
}
