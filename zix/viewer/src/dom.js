// Small helpers to make elements. Texts go in as text, so names from a scene can never become markup.

const SVG = "http://www.w3.org/2000/svg";

/** Icons as paths on a grid of 24. */
const ICONS = {
  tree: "M4 6h6M4 12h10M4 18h8M16 5v14M16 19l3-3M16 19l-3-3",
  fit: "M4 9V4h5M20 9V4h-5M4 15v5h5M20 15v5h-5M9 12h6M12 9v6",
    parallel: "M5 8h10v10H5zM5 8l4-4h10v10l-4 4M15 8l4-4",
  edges: "M12 3 20 7.5v9L12 21l-8-4.5v-9zM12 12v9M12 12 4 7.5M12 12l8-4.5",
  info: "M12 3a9 9 0 1 0 0 18 9 9 0 0 0 0-18zM12 11v5.5M12 7.6v.1",
  section: "M4 4.5h11l5 5v10H4zM12 2v20",
  measure: "M3 15.5 15.5 3 21 8.5 8.5 21zM7 11.5l2.5 2.5M10 8.5l1.8 1.8M13 5.5l2.5 2.5",
  eye: "M2.5 12S6 5.5 12 5.5 21.5 12 21.5 12 18 18.5 12 18.5 2.5 12 2.5 12zM12 15a3 3 0 1 0 0-6 3 3 0 0 0 0 6z",
  eyeOff: "M4 4l16 16M9.5 5.9A9 9 0 0 1 12 5.5c6 0 9.5 6.5 9.5 6.5a17 17 0 0 1-3 3.7M6.3 7.3A16 16 0 0 0 2.5 12S6 18.5 12 18.5a9 9 0 0 0 4.3-1.1",
  isolate: "M12 8a4 4 0 1 0 0 8 4 4 0 0 0 0-8zM12 2v3M12 19v3M2 12h3M19 12h3",
  ghost: "M12 3a8 8 0 1 0 0 18V3zM12 7h6.2M12 11h8M12 15h7.4",
  sun: "M12 7.5a4.5 4.5 0 1 0 0 9 4.5 4.5 0 0 0 0-9zM12 2v2.5M12 19.5V22M2 12h2.5M19.5 12H22M5 5l1.7 1.7M17.3 17.3 19 19M19 5l-1.7 1.7M6.7 17.3 5 19",
  moon: "M20 14.5A8.5 8.5 0 0 1 9.5 4a8.5 8.5 0 1 0 10.5 10.5z",
  help: "M9 9a3 3 0 1 1 4.2 2.7c-.8.4-1.2 1-1.2 1.8v.5M12 17.5v.1",
  close: "M6 6l12 12M18 6 6 18",
  chevron: "M9 6l6 6-6 6",
  flip: "M12 3v18M8 7l-5 5 5 5M16 7l5 5-5 5",
  warning: "M12 4 2.8 20h18.4zM12 10v4.5M12 17.3v.1",
  part: "M12 3.5 19.5 7.7v8.6L12 20.5l-7.5-4.2V7.7z",
  assembly: "M4 4h7v7H4zM13 13h7v7h-7zM13 7.5h3.5V11M7.5 13v3.5H11",
  all: "M2.5 12S6 5.5 12 5.5 21.5 12 21.5 12 18 18.5 12 18.5 2.5 12 2.5 12zM12 9.5v5M9.5 12h5",
};

/** @typedef {keyof typeof ICONS} IconName */

/** @param {IconName} name */
export function icon(name) {
  const svg = document.createElementNS(SVG, "svg");
  svg.setAttribute("viewBox", "0 0 24 24");
  svg.setAttribute("class", "icon");
  svg.setAttribute("aria-hidden", "true");
  const path = document.createElementNS(SVG, "path");
  path.setAttribute("d", ICONS[name]);
  svg.append(path);
  return svg;
}

/**
 * @template {keyof HTMLElementTagNameMap} K
 * @param {K} tag
 * @param {string} [className]
 * @param {(Node | string)[]} children
 */
export function make(tag, className, ...children) {
  const element = document.createElement(tag);
  if (className) element.className = className;
  element.append(...children);
  return element;
}

/** @param {string} tag @param {Record<string, string | number>} attributes */
export function makeSvg(tag, attributes) {
  const element = document.createElementNS(SVG, tag);
  for (const [name, value] of Object.entries(attributes)) element.setAttribute(name, String(value));
  return element;
}

/**
 * A button with an icon; `label` is its name for screen readers and its tip.
 * @param {IconName} name
 * @param {string} label
 * @param {() => void} action
 * @param {string} [key]  that does the same
 */
export function iconButton(name, label, action, key) {
  const button = make("button", "tool", icon(name));
  button.type = "button";
  button.title = key ? `${label}  (${key})` : label;
  button.setAttribute("aria-label", label);
  if (key) button.setAttribute("aria-keyshortcuts", key);
  button.addEventListener("click", action);
  return button;
}

/** @param {HTMLElement} button @param {boolean} isOn */
export const setPressed = (button, isOn) => button.setAttribute("aria-pressed", String(isOn));

/** @param {string} id */
export const byId = (id) => /** @type {HTMLElement} */ (document.getElementById(id));
