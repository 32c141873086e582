#pragma once

#include <QStringList>

class QWidget;

/// What an operator would find fault with when looking at a window: a text that does not fit its control, a control that sticks out
/// of its surroundings, one that the keyboard does not reach, or reaches but a screen reader cannot name. One line each; empty when
/// all is well.
QStringList FaultsOf(QWidget& window);

/// The palette of a dark desktop for the whole application.
void UseDarkPalette();
