// The look at a pad of a running pipeline.
#ifndef VAXO_ENGINE_CAPTURE_PICTUREFILTER_H
#define VAXO_ENGINE_CAPTURE_PICTUREFILTER_H

#include <memory>

#include <gst/gst.h>

namespace vaxoengine {

// While a look is set, every I420 picture that passes the pad is changed (a
// copy of it if somebody else holds it too); otherwise the pictures pass untouched. Pictures
// of other formats always do. SetLook may be called on any thread.
class PictureFilter {
public:
    explicit PictureFilter(GstPad* pad);
    ~PictureFilter();  // pictures that are being changed now are finished
    PictureFilter(const PictureFilter&) = delete;
    PictureFilter& operator=(const PictureFilter&) = delete;

    void SetLook(int index);  // 0 <= index < kLooks

private:
    struct Impl;
    GstPad* m_pad;
    gulong m_probe = 0;
    std::shared_ptr<Impl> m_impl;
};

}  // namespace vaxoengine

#endif
