// A window at the end of a tee: shows what flows through it, while a view is set.
#ifndef VAXO_ENGINE_VIEW_VIEWBRANCH_H
#define VAXO_ENGINE_VIEW_VIEWBRANCH_H

#include <memory>
#include <string>

#include <gst/gst.h>

#include "vaxotypes.h"

namespace vaxoengine {

// The codes of SetViewMode and SetPreviewViewMode.
enum ViewMode : int32 {
    ViewMode_Fit = 0,      // the whole picture, bars where the shape differs
    ViewMode_Fill = 1,     // the whole window, the picture cut where the shape differs
    ViewMode_Stretch = 2,  // the whole window, the picture distorted
};

// Attaches to and detaches from a running pipeline without disturbing its other branches:
// its queue drops what the window cannot show in time. Engine's thread only.
class ViewBranch {
public:
    // `tee` carries raw video in a pipeline of the engine and outlives the branch.
    explicit ViewBranch(GstElement* tee);
    ~ViewBranch();  // detaches; the window is not touched afterwards
    ViewBranch(const ViewBranch&) = delete;
    ViewBranch& operator=(const ViewBranch&) = delete;

    // An X11 window id; 0 takes the view away. False when it cannot be shown (no screen, no
    // such window); the pictures flow on all the same.
    bool SetWindow(unsigned long window);
    void SetMode(ViewMode mode);

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

// The handle in an application's view: an X11 window id in the int; 0 without a view.
inline unsigned long WindowOf(const std::shared_ptr<int>& view) {
    return view ? static_cast<unsigned int>(*view) : 0UL;
}

}  // namespace vaxoengine

#endif
