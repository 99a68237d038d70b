/// The form of every trace line of a VRF's state machines: "<Vrf:NAME>" and the text.
#pragma once

#include "platform/tracelet/Tracelet.h"

/// For members of a class with vrfName().
#define VRF_TRACE(module, level, text) TRACELET(module, level, "<Vrf:" << vrfName() << ">" << text)

/// Entry of a handler, with the full text of its signature; `more` is what follows it.
#define VRF_TRACE_ENTRY(module) VRF_TRACE(module, 9, __PRETTY_FUNCTION__)
#define VRF_TRACE_ENTRY_WITH(module, more) VRF_TRACE(module, 9, __PRETTY_FUNCTION__ << more)
