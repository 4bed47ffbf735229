#ifndef TOOLS_H
#define TOOLS_H

// The tools and selection colours, by name. Their numbers are what the
// tool signal (sendSelectType), the settings and the tests carry; this is
// the one place that maps between the two.

enum class Tool {
    None = 0,             // no tool told yet (a canvas before the window speaks)
    Rectangle = 1,        // rectangle selection
    Lasso = 2,            // lasso selection
    Polygon = 3,          // polygon selection
    Brush = 4,            // selection brush
    FixSelection = 5,     // takes selection away
    PieceDrag = 7,        // drags the smart clone's piece (set by the clone command)
    Stamp = 8,            // sampling stamp
    MoveView = 9,         // hand: moves the view
    StampRegionLasso = 10,   // stamp region, drawn as a lasso
    StampRegionPolygon = 11, // stamp region, drawn as a polygon
    SmartClone = 12,      // smart clone (moves and resizes a selected piece)
};

enum class Colour {
    Mask = 0,  // red: what goes
    Donor = 1, // green: where the fill may come from
};

constexpr int toolCode(Tool tool) { return int(tool); }
constexpr int colourCode(Colour colour) { return int(colour); }

// A number from a signal. One that names no tool or colour is kept as it
// is and so matches none of the names: every tool test fails for it, just
// as for any tool the code does not know.
constexpr Tool toolFromCode(int code) { return Tool(code); }
constexpr Colour colourFromCode(int code) { return Colour(code); }

// The tools that paint a selection layer in the chosen colour.
constexpr bool isSelectionTool(Tool tool)
{
    return tool == Tool::Rectangle || tool == Tool::Lasso || tool == Tool::Polygon || tool == Tool::Brush
        || tool == Tool::FixSelection;
}
constexpr bool isStampRegionTool(Tool tool)
{
    return tool == Tool::StampRegionLasso || tool == Tool::StampRegionPolygon;
}
// The two tools that move a piece of the photo instead of erasing.
constexpr bool isCloneTool(Tool tool) { return tool == Tool::PieceDrag || tool == Tool::SmartClone; }

#endif // TOOLS_H
