#pragma once

namespace Orvex {

class LumexTreeElement;
class ModeElement;

// Fills a mode that a file's loader left unbuilt (see ModeElement::isBuilt) with its categories,
// features and values, the first time anything asks for them. The loader provides it, since only it
// knows where the mode's content was read into.
class ModeBuilder
{
public:
    virtual ~ModeBuilder() = default;

    // Called once per mode, with the mode already marked built: what a_mode is asked while it is
    // filled is answered from what it holds so far.
    virtual void build(ModeElement* a_mode) = 0;
    // Where the content of the unbuilt a_mode is kept, to be read through UnbuiltModeReader; null when
    // there is none.
    virtual const LumexTreeElement* contentNode(const ModeElement* a_mode) const = 0;
};

} // namespace Orvex
