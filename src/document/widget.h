#pragma once
// What the document needs of an on-canvas selection widget: the element it
// stands for, and whether a given element is one of its parents (a multiple
// selection has several). The widget framework implements it.

#include "foundation/geometry.h"
#include "foundation/list.h"

class KVElement;

class KVElementWidget : public LListLink<KVElementWidget> {
public:
    virtual ~KVElementWidget() = default;
    virtual KVElement* GetElement() const = 0;
    virtual bool IsParentElement(const KVElement* element) const = 0;
    // The key of the element kind it stands for.
    virtual const char* GetElementName() const;
    virtual LBoundingBox2T<float> GetDimensions() const { return {}; }
};
