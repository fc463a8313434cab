// Fills a text of texts/*.json: "{name}" is a placeholder, a text that depends on a number is an object with one text
// for each plural category of the language, chosen by the value of "count".

export function pluralOf(text, count, locale) {
  if (typeof text === 'string') return text;
  return text[new Intl.PluralRules(locale).select(count)] ?? text.other;
}

// The text split at its placeholders: ["Disable ", {name: "user"}, "?"].
export function partsOf(text) {
  if (!cutTexts.has(text)) cutTexts.set(text, cut(text));
  return cutTexts.get(text);
}

// Every row needs the same few texts.
const cutTexts = new Map();

function cut(text) {
  const parts = text.split(/(\{\w+\})/).filter((part) => part !== '');
  return parts.map((part) => (/^\{\w+\}$/.test(part) ? { name: part.slice(1, -1) } : part));
}

// Numbers are formatted for the language; anything else is unchanged.
export function valueText(value, locale) {
  return typeof value === 'number' ? new Intl.NumberFormat(locale).format(value) : String(value);
}

export function fill(text, values, locale) {
  return partsOf(pluralOf(text, values.count, locale))
    .map((part) => (typeof part === 'string' ? part : valueText(values[part.name], locale)))
    .join('');
}
