// Base of the drawing objects that a device context can select.
#pragma once

#include "AfxDefs.h"

class CGdiObject
{
public:
    CGdiObject() = default;
    virtual ~CGdiObject() = default;
    CGdiObject(const CGdiObject&) = delete;
    CGdiObject& operator=(const CGdiObject&) = delete;

    virtual HGDIOBJ GetSafeHandle() const = 0;
    virtual BOOL DeleteObject() = 0;
};
