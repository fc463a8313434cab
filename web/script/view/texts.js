// The texts of the page in the user's language.
import { chooseLanguage, kLanguages, localeFor } from '../model/language.js';
import { fill, partsOf, pluralOf, valueText } from '../model/message.js';
import { element, setText } from './element.js';
import { recall, remember } from './memory.js';

const kKey = 'currentconn.language';

let language = 'en';
let locale = 'en';
let texts = {};
const listeners = new Set();

export const currentLanguage = () => language;

// For dates and numbers.
export const currentLocale = () => locale;

// Loads the texts in the user's language; fails if they cannot be loaded.
export function loadTexts() {
  const remembered = recall(kKey);
  const wanted = remembered === null ? navigator.languages : [remembered];
  return useLanguage(Object.hasOwn(kLanguages, remembered ?? '') ? remembered : chooseLanguage(wanted));
}

// Changes the language permanently.
export async function changeLanguage(tag) {
  await useLanguage(tag);
  remember(kKey, tag);
}

// Calls `listener` after each change of the language.
export function onLanguageChange(listener) {
  listeners.add(listener);
}

export const hasText = (key) => Object.hasOwn(texts, key);

export function say(key, values = {}) {
  return fill(texts[key], values, locale);
}

// A sentence, followed by the server's messages.
export function withCauses(sentence, causes) {
  return causes.length === 0 ? sentence : `${sentence} ${say('trouble.causes', { causes: causes.join('; ') })}`;
}

// The same as nodes, with each value isolated, so that bidirectional text in it cannot affect the sentence.
export function sayNodes(key, values = {}) {
  return partsOf(pluralOf(texts[key], values.count, locale)).map((part) => {
    if (typeof part === 'string') return part;
    return element('bdi', { className: 'name', textContent: valueText(values[part.name], locale) });
  });
}

// Fills in the texts named in the markup.
export function fillTexts(root) {
  for (const target of root.querySelectorAll('[data-text]')) setText(target, say(target.dataset.text));
  for (const target of root.querySelectorAll('[data-label]'))
    target.setAttribute('aria-label', say(target.dataset.label));
  for (const target of root.querySelectorAll('[data-placeholder]'))
    target.placeholder = say(target.dataset.placeholder);
}

async function useLanguage(tag) {
  // The document has the file names, since on the installed page they change with the content.
  const { href } = document.querySelector(`link[hreflang="${tag}"]`);
  const response = await fetch(href);
  if (!response.ok) throw new Error(`${href}: ${response.status}`);
  texts = await response.json();
  language = tag;
  locale = localeFor(tag, navigator.languages);
  document.documentElement.lang = tag;
  fillTexts(document);
  for (const listener of listeners) listener();
}
