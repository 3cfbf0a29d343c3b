// How things look: the same light as in `zix render`, so that pictures and page agree. Colours are the display's.

export const INSTANCE = `
in vec4 row0;
in vec4 row1;
in vec4 row2;
in vec4 color;   // and opacity
in vec4 glow;    // emission, gloss
in float mark;   // 1: selected
uniform mat4 viewMatrix;
uniform mat4 projectionMatrix;
out vec3 vPlace;
out vec4 vColor;
out float vMark;
vec3 placed(vec3 p) {
  vec4 q = vec4(p, 1.0);
  return vec3(dot(row0, q), dot(row1, q), dot(row2, q));
}
`;

const CUT = `
uniform vec4 section;  // x, y, z, how far along; all 0: there is none
in vec3 vPlace;
in vec4 vColor;
in float vMark;
out vec4 result;
void cut() {
  if (dot(vPlace, section.xyz) > section.w) discard;
}
`;

export const FACE_VERTEX = `
precision highp float;
in vec3 position;
in vec3 normal;
${INSTANCE}
uniform float parallel;
out vec3 vNormal;
out vec3 vToEye;
out vec4 vGlow;
void main() {
  vPlace = placed(position);
  vec3 cx = vec3(row0.x, row1.x, row2.x);
  vec3 cy = vec3(row0.y, row1.y, row2.y);
  vec3 cz = vec3(row0.z, row1.z, row2.z);
  // The matrix of cofactors turns normals as the placement turns faces, whatever it stretches or mirrors.
  vec3 turned = cross(cy, cz) * normal.x + cross(cz, cx) * normal.y + cross(cx, cy) * normal.z;
  float size = length(turned);
  vNormal = mat3(viewMatrix) * (size > 0.0 ? turned / size : vec3(0.0, 0.0, 1.0));
  vec4 seen = viewMatrix * vec4(vPlace, 1.0);
  vToEye = parallel > 0.5 ? vec3(0.0, 0.0, 1.0) : -seen.xyz;
  vColor = color;
  vGlow = glow;
  vMark = mark;
  gl_Position = projectionMatrix * seen;
}
`;

export const FACE_FRAGMENT = `
precision highp float;
${CUT}
uniform vec3 accent;
in vec3 vNormal;
in vec3 vToEye;
in vec4 vGlow;
// Light comes from the viewer, from a little above and to the left; back faces are lit as if they faced the viewer, so
// that open shells show their inside.
void main() {
  cut();
  vec3 n = normalize(vNormal);
  float facing = dot(n, vec3(-0.30, 0.45, 0.84));
  if (dot(n, vToEye) < 0.0) facing = -facing;
  float diffuse = 0.28 + 0.72 * max(facing, 0.0);
  float highlight = facing > 0.0 ? vGlow.a * pow(facing, 16.0) : 0.0;
  vec3 base = mix(vColor.rgb, accent, 0.62 * vMark);
  vec3 lit = base * diffuse;
  vec3 seen = sqrt(lit * lit + vGlow.rgb * vGlow.rgb) + highlight;
  float opacity = max(vColor.a, 0.35 * vMark);
  result = vec4(clamp(seen, 0.0, 1.0) * opacity, opacity);
}
`;

export const LINE_VERTEX = `
precision highp float;
in vec3 position;
${INSTANCE}
uniform float pointSize;
void main() {
  vPlace = placed(position);
  vColor = color;
  vMark = mark;
  gl_Position = projectionMatrix * viewMatrix * vec4(vPlace, 1.0);
  gl_PointSize = pointSize;
}
`;

// Feature edges have one colour (own = 0), lines and points of the scene their material's.
export const LINE_FRAGMENT = `
precision highp float;
${CUT}
uniform vec3 accent;
uniform vec4 ink;
uniform float own;
uniform float round;  // 1 for points
void main() {
  cut();
  if (round > 0.5 && length(gl_PointCoord - 0.5) > 0.5) discard;
  vec3 base = mix(ink.rgb, vColor.rgb, own);
  float opacity = mix(ink.a * (vColor.a < 1.0 ? 0.5 : 1.0), vColor.a, own);
  opacity = max(opacity, 0.35 * vMark);
  base = mix(base, accent * mix(0.55, 1.0, own), 0.8 * vMark);
  result = vec4(base * opacity, opacity);
}
`;
