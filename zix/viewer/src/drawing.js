// Draws the model with three.js. Each distinct mesh is on the graphics card once; its instances are rows of attributes.
// So however often a mesh is placed, it takes two calls: its faces and its edges (a third where some of its instances
// are transparent and others are not).

import {
  BufferAttribute, BufferGeometry, DoubleSide, GLSL3, InstancedBufferAttribute, InstancedBufferGeometry, LineSegments, LinearSRGBColorSpace,
  Camera as ThreeCamera, Mesh, Points, RawShaderMaterial, Scene, Vector3, Vector4, WebGLRenderer, CustomBlending,
  AddEquation, OneFactor, OneMinusSrcAlphaFactor,
} from "three";
import {MeshType} from "./reader.js";
import {FACE_FRAGMENT, FACE_VERTEX, LINE_FRAGMENT, LINE_VERTEX} from "./shaders.js";
import {creaseNormals, featureEdges, firstAtSamePlace} from "./surface.js";

/** What the user has done to an instance. */
export const Shown = {Hidden: 1, Clear: 2, Selected: 4};
const CLEAR_OPACITY = 0.25;

/** The attributes of the instances of one mesh that are drawn by one call. */
class Rows {
  /** @param {number} capacity */
  constructor(capacity) {
    const make = (/** @type {number} */ size) => new InstancedBufferAttribute(new Float32Array(capacity * size), size);
    this.attributes = {row0: make(4), row1: make(4), row2: make(4), color: make(4), glow: make(4), mark: make(1)};
    this.count = 0;
  }

  /** @param {import("three").BufferGeometry} base */
  geometry(base) {
    const geometry = new InstancedBufferGeometry();
    geometry.index = base.index;
    for (const [name, attribute] of Object.entries(base.attributes)) geometry.setAttribute(name, attribute);
    for (const [name, attribute] of Object.entries(this.attributes)) geometry.setAttribute(name, attribute);
    return geometry;
  }

  /**
   * @param {import("./placement.js").Matrix} world
   * @param {number[]} from  the mesh's own centre
   * @param {number[]} to  the scene's
   * @param {number[]} color
   * @param {number} opacity
   * @param {import("./model.js").Appearance} look
   * @param {boolean} selected
   */
  push(world, from, to, color, opacity, look, selected) {
    const n = this.count++;
    const {row0, row1, row2, glow, mark} = this.attributes;
    [row0, row1, row2].forEach((row, k) => {
      const [x, y, z, t] = world.subarray(4 * k, 4 * k + 4);
      row.array.set([x, y, z, x * from[0] + y * from[1] + z * from[2] + t - to[k]], 4 * n);
    });
    this.attributes.color.array.set([...color, opacity], 4 * n);
    glow.array.set([...look.emission, look.gloss], 4 * n);
    mark.array[n] = selected ? 1 : 0;
  }

  finish() {
    for (const attribute of Object.values(this.attributes)) attribute.needsUpdate = true;
  }
}

/** Everything that is drawn of one distinct mesh. */
class Batch {
  /**
   * @param {import("./elements.js").Elements} mesh
   * @param {number[]} instances
   * @param {import("./model.js").Model} model
   */
  constructor(mesh, instances, model) {
    this.mesh = mesh;
    this.instances = instances;
    this.centre = mesh.box.centre;
    this.all = new Rows(instances.length);  // opaque ones first
    /** @type {Rows | null} */
    this.clear = null;
    /** @type {import("three").Object3D[]} */
    this.objects = [];
    /** @type {Mesh | null} */
    this.clearFaces = null;
    /** @type {LineSegments | null} */
    this.edges = null;
    this.model = model;
  }

  /** Points relative to the mesh's centre, so that single precision is enough. @param {ArrayLike<number>} numbers */
  positions(numbers) {
    const {points} = this.mesh;
    const out = new Float32Array(3 * numbers.length);
    for (let i = 0; i < numbers.length; ++i) {
      for (let k = 0; k < 3; ++k) out[3 * i + k] = points[3 * numbers[i] + k] - this.centre[k];
    }
    return new BufferAttribute(out, 3);
  }

  /** @param {Drawing} drawing */
  build(drawing) {
    const {mesh} = this;
    if (mesh.indices.length === 0) return;
    if (mesh.type === MeshType.Triangles) {
      this.place = firstAtSamePlace(mesh.points);
      const {index, origin, normals} = creaseNormals(mesh.points, mesh.indices, this.place);
      const base = new BufferGeometry();
      base.setAttribute("position", this.positions(origin));
      base.setAttribute("normal", new BufferAttribute(normals, 4, true));
      base.setIndex(new BufferAttribute(origin.length < 65536 ? new Uint16Array(index) : index, 1));
      this.base = base;
      this.faces = drawing.add(new Mesh(this.all.geometry(base), drawing.faceMaterial), this);
      return;
    }
    const base = new BufferGeometry();
    base.setAttribute("position", this.positions(mesh.indices));
    const geometry = this.all.geometry(base);
    this.lines = mesh.type === MeshType.Lines ? drawing.add(new LineSegments(geometry, drawing.lineMaterial), this)
                                              : drawing.add(new Points(geometry, drawing.pointMaterial), this);
  }

  /** Edges take as long as the rest, and come when the first picture is there. @param {Drawing} drawing */
  buildEdges(drawing) {
    if (this.place === undefined || this.edges !== null) return;
    const pairs = featureEdges(this.mesh.points, this.mesh.indices, this.place);
    this.place = undefined;
    if (pairs.length === 0) return;
    const base = new BufferGeometry();
    base.setAttribute("position", this.positions(pairs));
    this.edges = drawing.add(new LineSegments(this.all.geometry(base), drawing.edgeMaterial), this);
    this.edges.renderOrder = 1;
    this.update(drawing);
  }

  /** Fills the rows by what the user has done. @param {Drawing} drawing */
  update(drawing) {
    const {all} = this;
    all.count = 0;
    const clear = [];
    for (const number of this.instances) {
      if (drawing.shown[number] & Shown.Hidden) continue;
      if (drawing.opacityOf(number) < 1) clear.push(number);
      else this.push(all, number, drawing);
    }
    const opaque = all.count;
    for (const number of clear) this.push(all, number, drawing);
    all.finish();
    if (this.faces) this.setCount(this.faces, opaque);
    if (this.edges) this.setCount(this.edges, drawing.edgesOn ? all.count : 0);
    if (this.lines) this.setCount(this.lines, all.count);
    if (this.base === undefined) return;
    if (clear.length > 0 && this.clear === null) {
      this.clear = new Rows(this.instances.length);
      this.clearFaces = drawing.add(new Mesh(this.clear.geometry(this.base), drawing.clearMaterial), this);
    }
    if (this.clear === null || this.clearFaces === null) return;
    this.clear.count = 0;
    for (const number of clear) if (drawing.opacityOf(number) > 0) this.push(this.clear, number, drawing);
    this.clear.finish();
    this.setCount(this.clearFaces, this.clear.count);
  }

  /** @param {import("three").Mesh | LineSegments | Points} object @param {number} count */
  setCount(object, count) {
    /** @type {InstancedBufferGeometry} */ (object.geometry).instanceCount = count;
    object.visible = count > 0;
  }

  /** @param {Rows} rows @param {number} number @param {Drawing} drawing */
  push(rows, number, drawing) {
    const {world, look} = this.model.instances[number];
    const color = look.stated || this.mesh.type === MeshType.Triangles ? look.color : drawing.plainInk;
    rows.push(world, this.centre, drawing.origin, color, drawing.opacityOf(number), look, (drawing.shown[number] & Shown.Selected) !== 0);
  }
}

/** Whether the processor draws, for want of a graphics card. @param {WebGL2RenderingContext} context */
function isSoftware(context) {
  let name = String(context.getParameter(context.RENDERER));
  if (name === "WebKit WebGL") {
    const more = context.getExtension("WEBGL_debug_renderer_info");
    if (more !== null) name = String(context.getParameter(more.UNMASKED_RENDERER_WEBGL));
  }
  return /swiftshader|llvmpipe|softpipe|software|basic render/i.test(name);
}

/**
 * Smooth borders where a graphics card draws; where the processor does, they would cost half of the speed. A canvas
 * keeps the context that it was given first, so the other one needs a canvas of its own.
 * @param {HTMLCanvasElement} canvas
 */
function contextFor(canvas) {
  const wishes = {alpha: true, depth: true, stencil: false, premultipliedAlpha: true, powerPreference: /** @type {const} */ ("high-performance")};
  const context = canvas.getContext("webgl2", {...wishes, antialias: true});
  if (context === null) throw new Error("This browser cannot draw in three dimensions: WebGL 2 is missing or turned off.");
  if (!isSoftware(context)) return {canvas, context};
  const other = /** @type {HTMLCanvasElement} */ (canvas.cloneNode());
  const plain = other.getContext("webgl2", {...wishes, antialias: false});
  if (plain === null) return {canvas, context};
  canvas.replaceWith(other);
  return {canvas: other, context: plain};
}

export class Drawing {
  /**
   * @param {HTMLCanvasElement} canvas
   * @param {import("./model.js").Model} model
   */
  constructor(canvas, model) {
    this.model = model;
    const drawn = contextFor(canvas);
    this.canvas = drawn.canvas;
    this.renderer = new WebGLRenderer(drawn);
    this.renderer.outputColorSpace = LinearSRGBColorSpace;
    this.renderer.setClearColor(0, 0);
    this.scene = new Scene();
    this.origin = model.bounds.centre;
    this.shown = new Uint8Array(model.instances.length);
    this.edgesOn = true;
    this.plainInk = [0.15, 0.15, 0.2];
    this.section = {value: new Vector4(0, 0, 0, 0)};
    this.accent = {value: new Vector3(0.16, 0.5, 0.98)};
    this.isParallel = {value: 0};
    this.pointSize = {value: 5};
    this.ink = {value: new Vector4(0.08, 0.08, 0.1, 0.85)};
    const {section, accent, isParallel, pointSize, ink} = this;
    const blend = {blending: CustomBlending, blendEquation: AddEquation, blendSrc: OneFactor, blendDst: OneMinusSrcAlphaFactor};
    const faces = {glslVersion: GLSL3, vertexShader: FACE_VERTEX, fragmentShader: FACE_FRAGMENT, side: DoubleSide,
                   uniforms: {section, accent, parallel: isParallel}};
    // Faces stand back a little, so that edges on them are not covered.
    this.faceMaterial = new RawShaderMaterial({...faces, polygonOffset: true, polygonOffsetFactor: 1.5, polygonOffsetUnits: 4});
    this.clearMaterial = new RawShaderMaterial({...faces, ...blend, transparent: true, depthWrite: false});
    const lines = {glslVersion: GLSL3, vertexShader: LINE_VERTEX, fragmentShader: LINE_FRAGMENT, ...blend};
    const inked = (/** @type {number} */ own, /** @type {number} */ round) => new RawShaderMaterial(
      {...lines, uniforms: {section, accent, pointSize, ink, own: {value: own}, round: {value: round}}});
    this.lineMaterial = inked(1, 0);
    this.pointMaterial = inked(1, 1);
    this.edgeMaterial = inked(0, 0);
    this.eye = new ThreeCamera();
    /** @type {number[][]} */
    const byMesh = model.meshes.map(() => []);
    model.instances.forEach(({mesh}, number) => byMesh[mesh].push(number));
    this.batches = model.meshes.map((mesh, number) => new Batch(mesh, byMesh[number], model)).filter(({instances}) => instances.length > 0);
    for (const batch of this.batches) {
      batch.build(this);
      batch.update(this);
    }
  }

  /**
   * @template {import("three").Mesh | LineSegments | Points} T
   * @param {T} object
   * @param {Batch} batch
   * @returns {T}
   */
  add(object, batch) {
    object.frustumCulled = false;
    object.matrixAutoUpdate = false;
    batch.objects.push(object);
    this.scene.add(object);
    return object;
  }

  /** Makes the edges of some meshes more; false when all are there. @param {number} milliseconds */
  buildSomeEdges(milliseconds) {
    const end = performance.now() + milliseconds;
    for (const batch of this.batches) {
      if (batch.place === undefined) continue;
      batch.buildEdges(this);
      if (performance.now() > end) return true;
    }
    return false;
  }

  /** @param {number} number */
  opacityOf(number) {
    const {opacity} = this.model.instances[number].look;
    return this.shown[number] & Shown.Clear ? Math.min(opacity, CLEAR_OPACITY) : opacity;
  }

  update() {
    for (const batch of this.batches) batch.update(this);
  }

  /** @param {number} width @param {number} height @param {number} ratio */
  resize(width, height, ratio) {
    this.renderer.setPixelRatio(ratio);
    this.renderer.setSize(width, height, false);
    this.pointSize.value = 5 * ratio;
  }

  /** A plane that cuts off what is beyond it; null: none. @param {{normal: number[], distance: number} | null} plane */
  setSection(plane) {
    if (plane === null) this.section.value.set(0, 0, 0, 0);
    else {
      const [x, y, z] = plane.normal;
      this.section.value.set(x, y, z, plane.distance - (x * this.origin[0] + y * this.origin[1] + z * this.origin[2]));
    }
  }

  /** @param {boolean} isDark */
  setTheme(isDark) {
    this.plainInk = isDark ? [0.78, 0.8, 0.85] : [0.15, 0.15, 0.2];
    this.ink.value.set(...(isDark ? [0.02, 0.02, 0.03, 0.9] : [0.08, 0.08, 0.1, 0.85]));
    this.update();
  }

  /** @param {import("./camera.js").Camera} camera */
  render(camera) {
    camera.applyTo(this.eye, this.origin);
    this.isParallel.value = camera.isParallel ? 1 : 0;
    this.renderer.render(this.scene, this.eye);
  }

  /** Calls of the last picture. */
  get calls() { return this.renderer.info.render.calls; }
}
