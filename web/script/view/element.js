// Creates and finds elements. Texts are always inserted as text, never as markup.

export const byId = (id) => document.getElementById(id);

// `properties` are properties of the element, and `data`, `aria` and `on`, which take objects, and `role`.
export function element(tag, { data = {}, aria = {}, on = {}, role, ...properties } = {}, ...children) {
  const made = Object.assign(document.createElement(tag), properties);
  Object.assign(made.dataset, data);
  if (role) made.setAttribute('role', role);
  for (const [name, value] of Object.entries(aria)) made.setAttribute(`aria-${name}`, value);
  for (const [type, listener] of Object.entries(on)) made.addEventListener(type, listener);
  made.append(...children);
  return made;
}

const kSvg = 'http://www.w3.org/2000/svg';

// One of the symbols of index.html; decoration, so hidden from screen readers.
export function icon(name, className = 'icon') {
  const use = document.createElementNS(kSvg, 'use');
  use.setAttribute('href', `#i-${name}`);
  const svg = document.createElementNS(kSvg, 'svg');
  svg.setAttribute('class', className);
  svg.setAttribute('aria-hidden', 'true');
  svg.append(use);
  return svg;
}

// Writes only what differs, to avoid a new layout and to keep a selection of text.
export function setText(target, text) {
  if (target.textContent !== text) target.textContent = text;
}

export function setAttribute(target, name, value) {
  if (value === null) target.removeAttribute(name);
  else if (target.getAttribute(name) !== value) target.setAttribute(name, value);
}
