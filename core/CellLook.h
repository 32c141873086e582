#pragma once

class QPainter;
class QStyleOptionViewItem;

/// How cells and nodes look that are no data at present, and cells that have just changed, on light and dark grounds,
/// selected or not.
namespace CellLook {

/// In pale italics; what is selected keeps the selection's colours.
void Dim(QStyleOptionViewItem& option);
/// Over a painted cell: shows also without colours, and for an empty text, that this is no data.
void Hatch(QPainter& painter, const QStyleOptionViewItem& option);
/// Over a painted cell.
void Mark(QPainter& painter, const QStyleOptionViewItem& option);

} // namespace CellLook
