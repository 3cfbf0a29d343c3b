// The tree as a list of rows of which only those in sight exist in the page, so that thousands of nodes cost nothing.

import {Shown} from "./drawing.js";
import {icon, make} from "./dom.js";
import {Type} from "./reader.js";
import {shown} from "./text.js";

const ROW = 28;  // pixels; the style sheet says the same
const DEEPEST = 24;  // levels that are still indented

export class Tree {
  /**
   * @param {HTMLElement} list  role=tree
   * @param {HTMLInputElement} search
   * @param {HTMLElement} summary  says what the search found
   * @param {import("./model.js").Model} model
   * @param {Uint8Array} states  of the instances
   * @param {{select: (entry: number) => void, toggle: (entry: number) => void, fit: (entry: number) => void}} actions
   */
  constructor(list, search, summary, model, states, actions) {
    this.list = list;
    this.search = search;
    this.summary = summary;
    this.model = model;
    this.states = states;
    this.actions = actions;
    this.selected = -1;
    /** @type {Set<number>} */
    this.open = new Set();
    /** @type {number[]} */
    this.rows = [];
    this.space = make("div", "tree-space");
    this.list.append(this.space);
    this.openFirstLevels();
    this.refresh();
    list.addEventListener("scroll", () => this.draw());
    list.addEventListener("keydown", (event) => this.key(event));
    list.addEventListener("click", (event) => this.click(event));
    list.addEventListener("dblclick", (event) => {
      const entry = this.entryOf(event.target);
      if (entry >= 0) actions.fit(entry);
    });
    search.addEventListener("input", () => {
      list.scrollTop = 0;
      this.refresh();
    });
    search.addEventListener("keydown", (event) => {
      if (event.key === "Escape" && search.value !== "") {
        search.value = "";
        this.refresh();
        event.stopPropagation();
      } else if (event.key === "ArrowDown" || event.key === "Enter") {
        event.preventDefault();
        list.focus();
        if (this.rows.length > 0 && !this.rows.includes(this.selected)) actions.select(this.firstMatch());
      }
    });
    new ResizeObserver(() => this.draw()).observe(list);
  }

  /** Until there is something to choose from. */
  openFirstLevels() {
    const {entries} = this.model;
    let visible = entries.filter(({parent}) => parent < 0).length;
    for (let level = 0; level < 6 && visible < 12; ++level) {
      let more = 0;
      entries.forEach((entry, number) => {
        if (entry.level !== level || entry.end === number + 1) return;
        this.open.add(number);
      });
      for (const entry of entries) if (entry.level === level + 1) ++more;
      if (more === 0) break;
      visible += more;
    }
  }

  get query() { return this.search.value.trim().toLowerCase(); }

  /** Lists the rows that are to be seen: all open ones, or what the search finds and what stands above that. */
  refresh() {
    const {entries} = this.model;
    const {query} = this;
    this.rows = [];
    this.matches = new Set();
    if (query === "") {
      for (let i = 0; i < entries.length; i = this.open.has(i) ? i + 1 : entries[i].end) this.rows.push(i);
      this.summary.textContent = "";
    } else {
      const wanted = new Set();
      entries.forEach(({name}, number) => {
        if (!name.toLowerCase().includes(query)) return;
        this.matches.add(number);
        for (let at = number; at >= 0 && !wanted.has(at); at = entries[at].parent) wanted.add(at);
      });
      entries.forEach((_, number) => { if (wanted.has(number)) this.rows.push(number); });
      const count = this.matches.size;
      this.summary.textContent = count === 0 ? "Nothing found" : count === 1 ? "1 found" : `${count.toLocaleString("en-US")} found`;
    }
    this.space.style.height = `${this.rows.length * ROW}px`;
    this.draw();
  }

  firstMatch() { return this.rows.find((row) => this.matches?.has(row)) ?? this.rows[0]; }

  draw() {
    const {list} = this;
    const first = Math.max(0, Math.floor(list.scrollTop / ROW) - 4);
    const last = Math.min(this.rows.length, Math.ceil((list.scrollTop + list.clientHeight) / ROW) + 4);
    const rows = [];
    for (let at = first; at < last; ++at) rows.push(this.row(at));
    this.space.replaceChildren(...rows);
    const isThere = this.rows.indexOf(this.selected);
    if (isThere >= first && isThere < last) list.setAttribute("aria-activedescendant", `row-${this.selected}`);
    else list.removeAttribute("aria-activedescendant");
  }

  /** How the instances below a row are: all, some or none of them hidden. @param {number} entry */
  visibilityOf(entry) {
    const {first, end} = this.model.instancesOf(entry);
    let hidden = 0;
    for (let i = first; i < end; ++i) if (this.states[i] & Shown.Hidden) ++hidden;
    return hidden === 0 ? "all" : hidden === end - first ? "none" : "some";
  }

  /** @param {number} at */
  row(at) {
    const number = this.rows[at];
    const entry = this.model.entries[number];
    const hasBelow = entry.end > number + 1;
    const isOpen = hasBelow && (this.query !== "" || this.open.has(number));
    const visibility = this.visibilityOf(number);
    const isEmpty = entry.firstInstance === entry.endInstance;
    const row = make("div", "row");
    row.id = `row-${number}`;
    row.dataset.entry = String(number);
    row.setAttribute("role", "treeitem");
    row.setAttribute("aria-level", String(entry.level + 1));
    row.setAttribute("aria-selected", String(number === this.selected));
    if (hasBelow) row.setAttribute("aria-expanded", String(isOpen));
    row.classList.toggle("selected", number === this.selected);
    row.classList.toggle("hidden", visibility === "none" && !isEmpty);
    row.classList.toggle("match", this.matches?.has(number) === true);
    row.style.top = `${at * ROW}px`;
    row.style.paddingLeft = `${6 + 14 * Math.min(entry.level, DEEPEST)}px`;
    const twist = make("span", hasBelow ? "twist" : "twist none", icon("chevron"));
    twist.classList.toggle("open", isOpen);
    const name = make("span", "name", shown(entry.name, 200) || "(no name)");
    name.dir = "auto";
    const eye = make("button", "eye", icon(visibility === "none" ? "eyeOff" : "eye"));
    eye.type = "button";
    eye.tabIndex = -1;
    eye.setAttribute("aria-label", visibility === "none" ? "Show" : "Hide");
    eye.classList.toggle("some", visibility === "some");
    if (isEmpty) eye.hidden = true;
    const isPart = entry.kind !== Type.Node || entry.objects.length > 1;
    row.append(twist, make("span", isPart ? "kind part" : "kind", icon(isPart ? "part" : "assembly")), name, eye);
    return row;
  }

  /** @param {EventTarget | null} target */
  entryOf(target) {
    const row = target instanceof Element ? target.closest(".row") : null;
    return row instanceof HTMLElement ? Number(row.dataset.entry) : -1;
  }

  /** @param {MouseEvent} event */
  click(event) {
    const entry = this.entryOf(event.target);
    if (entry < 0) return;
    const target = /** @type {Element} */ (event.target);
    if (target.closest(".eye")) this.actions.toggle(entry);
    else if (target.closest(".twist:not(.none)")) this.setOpen(entry, !this.open.has(entry));
    else this.actions.select(entry);
  }

  /** @param {number} entry @param {boolean} isOpen */
  setOpen(entry, isOpen) {
    if (isOpen) this.open.add(entry);
    else this.open.delete(entry);
    this.refresh();
  }

  /** @param {KeyboardEvent} event */
  key(event) {
    if (event.ctrlKey || event.metaKey || event.altKey || this.rows.length === 0) return;
    const at = this.rows.indexOf(this.selected);
    const page = Math.max(1, Math.floor(this.list.clientHeight / ROW) - 1);
    const entry = this.model.entries[this.selected];
    const hasBelow = entry !== undefined && entry.end > this.selected + 1;
    const steps = /** @type {Record<string, number>} */ ({
      ArrowDown: at + 1, ArrowUp: at - 1, Home: 0, End: this.rows.length - 1, PageDown: at + page, PageUp: at - page});
    if (event.key in steps) {
      this.actions.select(this.rows[Math.min(this.rows.length - 1, Math.max(0, steps[event.key]))]);
    } else if (event.key === "ArrowRight" && hasBelow) {
      if (this.query === "" && !this.open.has(this.selected)) this.setOpen(this.selected, true);
      else if (at + 1 < this.rows.length) this.actions.select(this.rows[at + 1]);
    } else if (event.key === "ArrowLeft" && entry !== undefined) {
      if (hasBelow && this.open.has(this.selected) && this.query === "") this.setOpen(this.selected, false);
      else if (entry.parent >= 0) this.actions.select(entry.parent);
    } else if (event.key === "Enter" && entry !== undefined) {
      this.actions.fit(this.selected);
    } else if (event.key === " " && entry !== undefined) {
      this.actions.toggle(this.selected);
    } else {
      return;
    }
    event.preventDefault();
    event.stopPropagation();
  }

  /** Shows a row: opens what stands above it, and scrolls. @param {number} entry */
  select(entry) {
    this.selected = entry;
    if (entry >= 0) {
      const {entries} = this.model;
      for (let at = entries[entry].parent; at >= 0; at = entries[at].parent) this.open.add(at);
      this.refresh();
      const at = this.rows.indexOf(entry);
      const top = at * ROW;
      if (at >= 0 && (top < this.list.scrollTop || top + ROW > this.list.scrollTop + this.list.clientHeight)) {
        this.list.scrollTop = Math.max(0, top - this.list.clientHeight / 2);
      }
    }
    this.draw();
  }
}
