// Making elements. Names come from files, so texts are set as texts and never as markup.

/**
 * @param {string} tag
 * @param {Record<string, any>} [properties] of the element; those with a dash are attributes, those
 *   that begin with "on" listeners
 * @param {...(Node | string | null)} children
 * @returns {any}
 */
export function element(tag, properties = {}, ...children) {
  const made = document.createElement(tag);
  for (const [name, value] of Object.entries(properties)) {
    if (name.startsWith('on')) made.addEventListener(name.slice(2), value);
    else if (name.includes('-') || name === 'role' || name === 'for') made.setAttribute(name, value);
    else made[name] = value;
  }
  made.append(...children.filter((child) => child !== null && child !== undefined));
  return made;
}

/** @param {string} id @returns {any} */
export const byId = (id) => document.getElementById(id);

/** A number as people read it, without noise behind the comma. */
export const shown = (value, digits = 3) => String(+value.toFixed(digits) + 0);

/** True when an element takes keys for itself. */
export const takesText = (target) => target instanceof HTMLElement &&
  (target.tagName === 'SELECT' || (target.tagName === 'INPUT' &&
    !['range', 'checkbox', 'radio'].includes(/** @type {HTMLInputElement} */ (target).type)));
