// Kel/Toggle.h: feature toggles read from small JSON files, so a deployment
// can switch behaviour without a rebuild.
//
//   bool mvpn = Kel::getToggleState( "Mvpn", "bgp.json", true );
//   // with $OV_TOGGLE_DIR/bgp.json holding {"Mvpn": false}, mvpn is false
//
// Where: the file is $OV_TOGGLE_DIR/<file>. When OV_TOGGLE_DIR is unset or
// empty, or the file cannot be read, every toggle has its default.
//
// Format: one JSON object (RFC 8259) at the top level. A toggle is a member
// whose value is true or false:
//   { "Mvpn": false,
//     "EvpnIrb": true,
//     "comment": "other members of any type are ignored", "limits": [ 1, 2 ] }
// Whitespace anywhere JSON allows it; keys may use JSON escapes. When a key
// appears twice, the last one counts.
//
// Defaults: the default is returned when the key is absent, when its value is
// not a boolean (a string "false" is not false), or when the file is not a
// well-formed JSON object (a trailing comma, a truncated file, a top-level
// array, more than 64 levels of nesting, more than 1 MiB): a broken toggle
// file must not change behaviour in surprising ways.
//
// Cost: the file is read and parsed on every call; read toggles once, at
// start-up or construction, not on a hot path.
#pragma once

#include "Kel/String.h"

namespace Kel {

// getToggleState(): the boolean named name in $OV_TOGGLE_DIR/<file>, or
// defaultState (see above for when).
bool getToggleState( const Kel::String& name, const Kel::String& file, bool defaultState );

} // namespace Kel
