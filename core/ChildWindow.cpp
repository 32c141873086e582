#include "core/ChildWindow.h"

#include "core/modMain.h"

#include <QCloseEvent>
#include <QMdiArea>
#include <QMdiSubWindow>

namespace {

QList<ChildWindow*>& OpenForms()
{
    static QList<ChildWindow*> Forms;
    return Forms;
}

/// Frames are placed in steps, so that none covers the title of another, as far as they fit into the area.
QPoint FreePlace(const QMdiArea& area, const QMdiSubWindow& frame)
{
    const auto frames = area.subWindowList();
    const auto isFree = [&](const QPoint& place) {
        return std::none_of(frames.begin(), frames.end(),
                            [&](const QMdiSubWindow* other) { return other != &frame && other->pos() == place; });
    };
    const QSize room = area.viewport()->size() - frame.size();
    const int step = std::max(1, frame.contentsMargins().top()); // the height of a title
    for (int left = 0; left == 0 || left <= room.width(); left += step) {
        for (QPoint place(left, 0); place.y() == 0 || (place.x() <= room.width() && place.y() <= room.height());
             place += QPoint(step, step)) {
            if (isFree(place)) return place;
        }
    }
    return {};
}

/// As large as designed, unless the area is known to be smaller; then as large as the area, if the window allows that.
QSize FirstSize(const QMdiArea& area, const QMdiSubWindow& frame, const QSize& designed)
{
    const QSize size = designed.grownBy(frame.contentsMargins());
    return area.isVisible() ? size.boundedTo(area.viewport()->size()).expandedTo(frame.minimumSizeHint()) : size;
}

/// A hidden window must not stay the active frame: the one used before it takes over.
void ActivatePrevious(QMdiArea* area)
{
    const auto frames = area->subWindowList(QMdiArea::ActivationHistoryOrder);
    for (auto frame = frames.rbegin(); frame != frames.rend(); ++frame) {
        if ((*frame)->isVisible() && !(*frame)->isMinimized()) return area->setActiveSubWindow(*frame);
    }
    area->setActiveSubWindow(nullptr);
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
    const QSize designed = size();
    const bool isDesigned = testAttribute(Qt::WA_Resized);
    m_Frame = new QMdiSubWindow(area.viewport());
    m_Frame->setWidget(this);
    m_Frame->setAttribute(Qt::WA_DeleteOnClose, false);
    if (isDesigned) m_Frame->resize(FirstSize(area, *m_Frame, designed));
    area.addSubWindow(m_Frame);
    m_Frame->move(FreePlace(area, *m_Frame));
    m_Frame->hide();
    connect(this, &QObject::destroyed, m_Frame, &QObject::deleteLater); // whoever deletes it
}

void ChildWindow::ShowForm()
{
    if (m_Unloading || !m_Frame) return;
    if (m_Frame->isMinimized()) m_Frame->showNormal();
    show();
    m_Frame->show();
    m_Frame->raise();
    m_Frame->mdiArea()->setActiveSubWindow(m_Frame);
}

void ChildWindow::HideForm()
{
    if (m_Unloading || !m_Frame) return;
    const bool wasActive = m_Frame->mdiArea()->activeSubWindow() == m_Frame;
    m_Frame->hide();
    if (wasActive) ActivatePrevious(m_Frame->mdiArea());
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
