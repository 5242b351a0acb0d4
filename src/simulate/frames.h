#pragma once

#include "simulate/vector3.h"

namespace ctfmeg::simulate {

// Positions in centimetres. Dewar frame: z up, x and y at 45 degrees right and left of the nose, origin above
// the helmet among the references. Head frame: x to the nose, y left, z up, origin between the ears.
// Helmet frame: axes like the head's, but fixed to the dewar, origin in the middle of the helmet.

Vector3 dewarDirectionFromHelmet(const Vector3& direction);
Vector3 dewarPositionFromHelmet(const Vector3& positionCm);

// The head lies in the helmet leaning back a little; this one rigid transform relates the frames of both.
Vector3 headDirectionFromDewar(const Vector3& direction);
Vector3 headPositionFromDewar(const Vector3& positionCm);
Vector3 dewarPositionFromHead(const Vector3& positionCm);

}  // namespace ctfmeg::simulate
