#pragma once

#include <QIcon>
#include <QLabel>

/// One panel of the status bar: plain text, shortened to the room it has, with an image in front.
class StatusPanel : public QLabel
{
    Q_OBJECT

public:
    explicit StatusPanel(QWidget* parent = nullptr);

    void SetImage(const QIcon& image);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QIcon m_Image;
};
