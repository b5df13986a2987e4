#include "ui/MainLayout.h"

namespace {

constexpr int PanelHeight = 645;
constexpr int SidePanelWidth = 1800;

} // namespace

MainLayout LayoutMainWindow(const MainLayout& previous, int windowWidth, int windowHeight) {
    MainLayout l = previous;
    l.Grid.Left = 0;
    l.Grid.Top = 0;

    l.Panel3D4.Left = 0;
    l.Panel3D4.Width = SidePanelWidth;
    l.Panel3D4.Height = PanelHeight;
    l.Panel3D2.Left = SidePanelWidth;
    l.Panel3D2.Height = PanelHeight;
    l.Panel3D1.Width = SidePanelWidth;
    l.Panel3D1.Height = PanelHeight;

    if (windowHeight > 1000) {
        // Title bar, menu, panels and borders take 1325; the panels sit right under the grid.
        l.Grid.Height = windowHeight - 1325;
        l.Panel3D4.Top = l.Panel3D2.Top = l.Panel3D1.Top = l.Grid.Height;
    }
    if (windowWidth > 4000) {
        l.Grid.Width = windowWidth - 120;
        l.Column0Units = GridHeadingColumnUnits;
        l.DataColumnUnits = (l.Grid.Width - 908) / 3.0 / 160.0;
        l.Panel3D2.Width = l.Grid.Width - 2 * SidePanelWidth;
        l.Panel3D1.Left = l.Grid.Width - SidePanelWidth;
    }
    return l;
}

MainLayout InitialMainLayout() { return LayoutMainWindow(MainLayout{}, MainStartWidth, MainStartHeight); }
