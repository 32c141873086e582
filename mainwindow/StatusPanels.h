#pragma once

#include "core/TreeNode.h"

#include <QIcon>
#include <QLabel>

class QStatusBar;

/// One panel of the status bar: an image and a plain text, shortened to the room that it has (the tool tip shows it
/// all).
class StatusPanel : public QLabel
{
    Q_OBJECT

public:
    explicit StatusPanel(QWidget* parent = nullptr);

    void SetImage(const QIcon& image);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    /// Where the text goes, beside the image.
    QRect TextPlace() const;
    QString ShownText() const;

    QIcon m_Image;
};

/// The three panels of the status bar: progress words, the current node, the number of its children.
class StatusPanels
{
public:
    explicit StatusPanels(QStatusBar* stbrMain);

    void SetStatus(const QString& text);
    /// Paints the progress word now.
    void PaintStatus();
    void ShowNode(const TreeNodeRef& node, const QIcon& image);

private:
    StatusPanel* m_Status;
    StatusPanel* m_Object;
    StatusPanel* m_Count;
};
