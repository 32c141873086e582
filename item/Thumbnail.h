#pragma once

#include <QFrame>
#include <QImage>
#include <QPixmap>

/// Shows a picture as large as its box allows and keeps the proportions.
class Thumbnail : public QFrame
{
    Q_OBJECT

public:
    explicit Thumbnail(QWidget* parent = nullptr);

    void SetPicture(const QImage& picture);
    void Clear() { SetPicture(QImage()); }
    const QImage& Picture() const { return m_Picture; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void Scale();

    QImage m_Picture;
    QPixmap m_Scaled;
};
