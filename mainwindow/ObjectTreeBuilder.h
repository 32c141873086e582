#pragma once

class MainWindow;

/// Creates the engine and fills the main window's tree with the server's objects; takes the history on the way. Throws
/// what the server throws; the tree then keeps what was added so far.
void BuildObjectTree(MainWindow& mainWindow);
