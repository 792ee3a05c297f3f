// Makes elements. Texts are texts: nothing that comes over the socket is read as HTML.

export function el(tag, properties = {}, ...children) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(properties)) {
    if (name === "on") {
      for (const [event, listener] of Object.entries(value)) {
        element.addEventListener(event, listener);
      }
    } else if (value === true) {
      element.setAttribute(name, "");
    } else if (value !== false && value !== null && value !== undefined) {
      element.setAttribute(name, value);
    }
  }
  element.append(...children.filter((child) => child !== null && child !== undefined));
  return element;
}

// A text of a CAM: where it is no Unicode, its code units come one by one.
export function text(value) {
  return Array.isArray(value) ? String.fromCharCode(...value) : value === null || value === undefined ? "" : String(value);
}

// Fills an element anew when what it shows has changed, and leaves it alone otherwise, with whatever has the focus.
const shown = new WeakMap();
export function show(element, about, make) {
  const key = JSON.stringify(about);
  if (shown.get(element) === key) {
    return false;
  }
  shown.set(element, key);
  const focused = element.contains(document.activeElement) ? document.activeElement.dataset.key : undefined;
  element.replaceChildren(...make().filter((child) => child !== null));
  if (focused) {
    element.querySelector(`[data-key="${CSS.escape(focused)}"]`)?.focus();
  }
  return true;
}
