#include "document/image_element.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include "document/freehand.h"
#include "document/project.h"
#include "document/shapes.h"
#include "document/vectorize.h"
#include "document/widget.h"
#include "foundation/graphics_path.h"

namespace {

// The render targets draw pictures of 8-bit colour and alpha; any other
// format is converted once, when the picture comes in.
void MakeDrawable(LImageBuffer& picture) {
    if (!picture.IsValid() || picture.format == LPixelFormatB8G8R8A8)
        return;
    LImageBuffer converted;
    LImage::New(converted, picture.width, picture.height, LPixelFormatB8G8R8A8);
    if (!converted.IsValid())
        return;
    LImage::Copy(picture, converted, 0, 0, 0, 0, picture.width, picture.height);
    picture.Assign(converted);
}

LBoundingBox2T<float> TurnedPlacement(const KVImageElementProperties& p) {
    const LBoundingBox2T<float> box = p.GetPlacement();
    if (p.rotation == 0.0f)
        return box;
    const float cx = (box.x1 + box.x2) * 0.5f, cy = (box.y1 + box.y2) * 0.5f;
    LGraphicsPath path;
    path.AddRectangle(box.x1, box.y1, box.GetWidth(), box.GetHeight());
    path.Translate(-cx, -cy);
    path.Rotate(p.rotation);
    path.Translate(cx, cy);
    return path.GetBounds();
}

int RoundToInt(float v) { return static_cast<int>(Round(v)); }

// A new placement and turn, with the erase strokes taken along: moved and
// scaled with the placement, then turned about its new centre.
void Place(KVImageElementProperties& p, const LBoundingBox2T<float>& box, float rotation) {
    const LBoundingBox2T<float> old = p.GetPlacement();
    p.x = RoundToInt(box.x1);
    p.y = RoundToInt(box.y1);
    p.width = RoundToInt(box.x2 - box.x1);
    p.height = RoundToInt(box.y2 - box.y1);
    const LBoundingBox2T<float> placed = p.GetPlacement();
    KVFollowBoxWithEraserStrokes(p, old, placed);
    if (rotation != p.rotation)
        p.RotateEraserStrokes({(placed.x1 + placed.x2) * 0.5f, (placed.y1 + placed.y2) * 0.5f},
                              rotation - p.rotation);
    p.rotation = rotation;
}

// The largest placement traced, sixteen times what already asks the user to
// think twice: beyond it the work buffers alone run to gigabytes and the
// tracing to hours, and the picture is shown as it is.
constexpr long long kMaxVectorizedPixels = 16ll * 1000 * 1000;

} // namespace

// ---------------------------------------------------------------- record

void KVImageElementProperties::SetVectorization(LList<KVElement>& paths) {
    auto* list = new KVCountedList;
    list->paths = std::move(paths);
    vectorization = LCountedPtr<KVCountedList>(list);
    vectorizationLock = LCountedPtr<KVCountedLock>(new KVCountedLock);
    vectorBounds = GetPlacement();
}

void KVImageElementProperties::SetVectorization(const KVImageElementProperties& other) {
    vectorization = other.vectorization;
    vectorizationLock = other.vectorizationLock;
}

LListIterator<KVElement> KVImageElementProperties::GetVectorization() {
    if (!vectorization)
        return {};
    if (vectorization.GetCount() > 1) {
        auto* own = new KVCountedList;
        {
            LLockGuard guard(vectorizationLock->lock);
            for (const KVElement& path : vectorization->paths)
                own->paths.PushBack(path.DuplicateSelf());
        }
        vectorization = LCountedPtr<KVCountedList>(own);
        vectorizationLock = LCountedPtr<KVCountedLock>(new KVCountedLock);
    }
    return vectorization->paths.GetIterator();
}

void KVImageElementProperties::SetImage(LImageBuffer& picture) {
    MakeDrawable(picture);
    auto* own = new LImageBuffer;
    own->Assign(picture);
    image = LCountedPtr<LImageBuffer>(own);
}

LProcessResult KVImageElementProperties::CopyForVectorizing(LProcessInterface& process,
                                                            LImageBuffer& out) const {
    if (!HasImage() || width < 1 || height < 1) {
        process.SetError("The image element has no picture to vectorize.");
        return LProcessResultError;
    }
    if (static_cast<long long>(width) * height > kMaxVectorizedPixels) {
        process.SetError("The image is too large to vectorize.");
        return LProcessResultError;
    }
    const LImageBuffer& picture = *image;
    if (picture.width == width && picture.height == height) {
        LImage::New(out, width, height, picture.format);
        if (!out.IsValid()) {
            process.SetError("Not enough memory to vectorize the picture.");
            return LProcessResultError;
        }
        LImageBufferCopy(out, picture);
        return LProcessResultOk;
    }
    return LImage::Resize(process, picture, out, width, height, false, LImage::ResizeFilterSmooth);
}

unsigned long KVImageElementProperties::GetNumberVectors() const {
    return vectorization ? vectorization->paths.GetCount() : 0;
}

// ---------------------------------------------------------------- element

KVImageElement::KVImageElement(LImageBuffer& picture) {
    P p;
    p.width = picture.width;
    p.height = picture.height;
    p.SetImage(picture);
    SetProperties(p, false, nullptr);
}

// The whole render holds the element's lock, vectorisation included: a panel
// change waits for it rather than swapping the paths under it.
LProcessResult KVImageElement::Render(LProcessInterface& process, KVRenderImage& target) {
    LLockGuard guard(GetLock());
    P p = GetProperties();
    if (p.vectorized && p.width > 0 && p.height > 0) {
        const LProcessResult r = RenderVectorization(process, target, p);
        // Any other failure shows the picture itself.
        if (r != LProcessResultError)
            return r;
    }
    if (!p.HasImage())
        return LProcessResultOk;
    KVRenderImage* t = &target;
    bool rotated = false;
    const LBoundingBox2T<float> box = p.GetPlacement();
    if (p.rotation != 0.0f)
        if (KVRenderImage* child = t->BeginRotate(p.rotation, {(box.x1 + box.x2) * 0.5f,
                                                               (box.y1 + box.y2) * 0.5f})) {
            t = child;
            rotated = true;
        }
    const LProcessResult r = t->DrawImage(process, *p.image, p.x, p.y, p.width, p.height);
    if (rotated)
        target.FinishRotate();
    return r;
}

LProcessResult KVImageElement::RenderVectorization(LProcessInterface& process,
                                                   KVRenderImage& target, P& p) {
    if (p.GetNumberVectors() == 0) {
        KVVectorizeImageSettings settings;
        settings.detail = p.detail;
        LProcessInterfaceSubProcess copying(process, 0, 0.05);
        if (LProcessResult r = p.CopyForVectorizing(copying, settings.input))
            return r;
        LProcessInterfaceSubProcess tracing(process, 0.05, 0.95);
        if (LProcessResult r = KVVectorizeImage(tracing, settings))
            return r;
        P fresh = GetProperties();
        fresh.SetVectorization(settings.output);
        SetProperties(fresh, false, nullptr);
        p = fresh;
    }
    const float vw = p.vectorBounds.GetWidth(), vh = p.vectorBounds.GetHeight();
    if (!(vw > 0) || !(vh > 0))
        return LProcessResultError;
    const LBoundingBox2T<float> box = p.GetPlacement();
    KVRenderImage* t = &target;
    KVRenderImage* rotated = nullptr;
    if (p.rotation != 0.0f)
        if (KVRenderImage* child = t->BeginRotate(p.rotation, {(box.x1 + box.x2) * 0.5f,
                                                               (box.y1 + box.y2) * 0.5f}))
            rotated = t = child;
    KVRenderImage* translatedOn = nullptr;
    if (KVRenderImage* child = t->BeginTranslate(static_cast<float>(p.x), static_cast<float>(p.y))) {
        translatedOn = t;
        t = child;
    }
    KVRenderImage* scaledOn = nullptr;
    if (KVRenderImage* child = t->BeginScale(static_cast<float>(p.width) / vw,
                                             static_cast<float>(p.height) / vh)) {
        scaledOn = t;
        t = child;
    }
    const unsigned long count = p.GetNumberVectors();
    const unsigned long step = std::max(1ul, count / 25);
    unsigned long i = 0;
    LProcessResult result = LProcessResultOk;
    for (LListIterator<KVElement> it = p.GetVectorizationForReading(); it; ++it, ++i) {
        if (i % step == 0)
            process.SetProgress(static_cast<double>(i) / static_cast<double>(count));
        if ((result = it->Render(process, *t)) != LProcessResultOk)
            break;
    }
    if (scaledOn)
        scaledOn->FinishScale();
    if (translatedOn)
        translatedOn->FinishTranslate();
    if (rotated)
        target.FinishRotate();
    return result;
}

bool KVImageElement::Update(KVElementWidget* widget) {
    if (!widget)
        return false;
    LLockGuard guard(GetLock());
    P p = GetProperties();
    const LBoundingBox2T<float> box = widget->GetDimensions();
    const auto* geometry = dynamic_cast<const KVShapeWidgetGeometry*>(widget);
    const KVImageElementUndoRedo::Placement before{p.GetPlacement(), p.rotation};
    Place(p, box, geometry ? geometry->GetRotation() : p.rotation);
    const KVImageElementUndoRedo::Placement after{p.GetPlacement(), p.rotation};
    if (after.box == before.box && after.rotation == before.rotation)
        return false;
    SetProperties(p, false, nullptr);
    if (LUndoRedoStack* stack = GetUndoRedoStack())
        stack->AddItem(new KVImageElementUndoRedo(this, before, after));
    return true;
}

// What sticks out at the left or top of the new canvas, or beyond it at the
// right or bottom, is cut off the picture, in the picture's own pixels.
void KVImageElement::Crop(LBoundingBox2T<float> box, LUndoRedoGroup* group) {
    P p = GetProperties();
    p.x -= RoundToInt(box.x1);
    p.y -= RoundToInt(box.y1);
    p.TranslateEraserStrokes(static_cast<float>(-RoundToInt(box.x1)),
                             static_cast<float>(-RoundToInt(box.y1)));
    const long canvasWidth = Round(box.x2 - box.x1), canvasHeight = Round(box.y2 - box.y1);
    const long left = std::max<long>(p.x, 0), top = std::max<long>(p.y, 0);
    const long right = std::min<long>(static_cast<long>(p.x) + p.width, canvasWidth);
    const long bottom = std::min<long>(static_cast<long>(p.y) + p.height, canvasHeight);
    const long keptWidth = right - left, keptHeight = bottom - top;
    const bool cut = keptWidth != p.width || keptHeight != p.height;
    // A picture wholly outside the canvas only moves: nothing of it would
    // be left to keep.
    if (cut && keptWidth > 0 && keptHeight > 0 && p.HasImage()) {
        const LImageBuffer& from = *p.image;
        const double fx = static_cast<double>(from.width) / p.width;
        const double fy = static_cast<double>(from.height) / p.height;
        const int sx = static_cast<int>(Round((left - p.x) * fx));
        const int sy = static_cast<int>(Round((top - p.y) * fy));
        const int sw = std::max(1, static_cast<int>(Round(keptWidth * fx)));
        const int sh = std::max(1, static_cast<int>(Round(keptHeight * fy)));
        auto* part = new LImageBuffer;
        LImage::New(*part, sw, sh, from.format);
        if (part->IsValid()) {
            LImage::Copy(from, *part, 0, 0, sx, sy, sw, sh);
            p.image = LCountedPtr<LImageBuffer>(part);
            p.x = static_cast<int>(left);
            p.y = static_cast<int>(top);
            p.width = static_cast<int>(keptWidth);
            p.height = static_cast<int>(keptHeight);
            // The regions of the whole picture no longer fit the part kept.
            LList<KVElement> none;
            p.SetVectorization(none);
        } else {
            delete part;
        }
    }
    SetProperties(p, group != nullptr, group);
}

void KVImageElement::Resize(float sx, float sy, bool addUndo) {
    P p = GetProperties();
    const float x = static_cast<float>(p.x) * sx, y = static_cast<float>(p.y) * sy;
    Place(p, {x, y, x + static_cast<float>(p.width) * sx, y + static_cast<float>(p.height) * sy},
          p.rotation);
    SetProperties(p, addUndo, nullptr);
}

LBoundingBox2T<float> KVImageElement::GetRenderedDimensions() const {
    return TurnedPlacement(GetProperties());
}

KVElementWidget* KVImageElement::GetWidget() {
    KVShapeWidgetFactory* factory = KVGetShapeWidgetFactory();
    if (!factory)
        return nullptr;
    const P p = GetProperties();
    KVRectangleElementProperties frame;
    frame.bounds = p.GetPlacement();
    frame.rotation = p.rotation;
    // The frame stands clear of the picture's edge, which it would hide.
    return factory->MakeBoxShapeWidget(this, GetName(), frame, 5, 0);
}

void KVImageElement::SetPropertiesFromPanel(const P& panel, bool addUndo) {
    LLockGuard guard(GetLock());
    P p = GetProperties();
    const KVImageElementUndoRedo::Vectorization before{p.vectorized, p.detail};
    p.vectorized = panel.vectorized;
    p.detail = panel.detail;
    p.SetVectorization(panel);
    if (panel.HasImage())
        p.CopyImage(panel);
    SetProperties(p, false, nullptr);
    if (LUndoRedoStack* stack = GetUndoRedoStack(); stack && addUndo)
        stack->AddItem(new KVImageElementUndoRedo(this, before, {p.vectorized, p.detail}));
}

// ---------------------------------------------------------------- undo

KVImageElementUndoRedo::KVImageElementUndoRedo(KVImageElement* e, const Placement& before,
                                               const Placement& after)
    : element(e), isPlacement(true), placement{before, after} {}

KVImageElementUndoRedo::KVImageElementUndoRedo(KVImageElement* e, const Vectorization& before,
                                               const Vectorization& after)
    : element(e), isPlacement(false), vectorization{before, after} {}

void KVImageElementUndoRedo::GetName(char* name) const {
    std::snprintf(name, kLFixedStringSize, "%s", "Image Element Modification");
}

void KVImageElementUndoRedo::Restore(bool toNew) {
    LLockGuard guard(element->GetLock());
    element->GetCacheHandle().Invalidate();
    KVImageElementProperties p = element->GetProperties();
    if (isPlacement) {
        const Placement& to = placement[toNew ? 1 : 0];
        Place(p, to.box, to.rotation);
    } else {
        const Vectorization& to = vectorization[toNew ? 1 : 0];
        p.vectorized = to.vectorized;
        p.detail = to.detail;
        // Made again at the next render, with the detail now in force.
        if (p.vectorized) {
            LList<KVElement> none;
            p.SetVectorization(none);
        }
    }
    element->SetProperties(p, false, nullptr);
}

// ---------------------------------------------------------------- pictures as projects

std::unique_ptr<KVProject> KVNewPictureProject(const char* path, LImageBuffer& picture) {
    std::string file = path ? path : "";
    const size_t slash = file.find_last_of("/\\");
    if (slash != std::string::npos)
        file.erase(0, slash + 1);
    std::string name = file;
    const size_t dot = name.rfind('.');
    if (dot != std::string::npos && dot > 0)
        name.erase(dot);
    auto project = std::make_unique<KVProject>(name.c_str());
    auto* image = new KVImage(file.c_str(), static_cast<unsigned long>(picture.width),
                              static_cast<unsigned long>(picture.height), 72,
                              LPixelColour(255, 255, 255, 255));
    image->SetPath(path);
    project->AddNewImage(image);
    image->AddNewElement(new KVImageElement(picture), image->GetFirstLayer(), false, false);
    return project;
}
