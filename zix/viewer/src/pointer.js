// Mouse, pen and touch on the picture: turn, move, zoom; a short press without movement is a click.

/**
 * @param {HTMLElement} element
 * @param {{
 *   begin: (x: number, y: number) => void, orbit: (dx: number, dy: number) => void, pan: (dx: number, dy: number) => void,
 *   zoom: (factor: number, x: number, y: number) => void, click: (x: number, y: number, event: PointerEvent) => void,
 *   doubleClick: (x: number, y: number) => void, hover: (x: number, y: number) => void}} actions
 */
export function listenToPointers(element, actions) {
  /** @type {Map<number, {x: number, y: number}>} */
  const down = new Map();
  let moved = false;
  let start = {x: 0, y: 0};
  let isPan = false;

  const place = (/** @type {MouseEvent} */ event) => {
    const box = element.getBoundingClientRect();
    return {x: event.clientX - box.left, y: event.clientY - box.top};
  };
  /** Middle of two fingers, and how far apart they are. */
  const fingers = () => {
    const [a, b] = [...down.values()];
    return {x: (a.x + b.x) / 2, y: (a.y + b.y) / 2, apart: Math.max(1, Math.hypot(a.x - b.x, a.y - b.y))};
  };

  element.addEventListener("pointerdown", (event) => {
    element.focus({preventScroll: true});
    element.setPointerCapture(event.pointerId);
    const at = place(event);
    down.set(event.pointerId, at);
    if (down.size === 1) {
      moved = false;
      start = at;
      isPan = event.button === 1 || event.button === 2 || event.shiftKey || event.ctrlKey;
      actions.begin(at.x, at.y);
    } else moved = true;
    if (event.button === 1) event.preventDefault();
  });
  element.addEventListener("pointermove", (event) => {
    const at = place(event);
    const last = down.get(event.pointerId);
    if (last === undefined) {
      if (event.pointerType === "mouse") actions.hover(at.x, at.y);
      return;
    }
    if (down.size === 2) {
      const before = fingers();
      down.set(event.pointerId, at);
      const after = fingers();
      actions.pan(after.x - before.x, after.y - before.y);
      actions.zoom(before.apart / after.apart, after.x, after.y);
      return;
    }
    if (down.size > 2) return;
    if (!moved && Math.hypot(at.x - start.x, at.y - start.y) < (event.pointerType === "touch" ? 8 : 4)) return;
    moved = true;
    down.set(event.pointerId, at);
    (isPan ? actions.pan : actions.orbit)(at.x - last.x, at.y - last.y);
  });
  const end = (/** @type {PointerEvent} */ event) => {
    const wasDown = down.delete(event.pointerId);
    if (wasDown && down.size === 0 && !moved && event.type === "pointerup" && event.button === 0) {
      const at = place(event);
      actions.click(at.x, at.y, event);
    }
  };
  element.addEventListener("pointerup", end);
  element.addEventListener("pointercancel", end);
  element.addEventListener("contextmenu", (event) => event.preventDefault());
  element.addEventListener("dblclick", (event) => {
    const at = place(event);
    actions.doubleClick(at.x, at.y);
  });
  element.addEventListener("wheel", (event) => {
    event.preventDefault();
    const lines = event.deltaMode === 1 ? 33 : event.deltaMode === 2 ? 400 : 1;
    const at = place(event);
    actions.zoom(Math.exp(Math.max(-1, Math.min(1, event.deltaY * lines * (event.ctrlKey ? 0.01 : 0.0015)))), at.x, at.y);
  }, {passive: false});
}
