// Language and appearance, chosen at the login and in the account's panel.
import { kLanguages } from '../model/language.js';
import { element } from './element.js';
import { recall, remember } from './memory.js';
import { changeLanguage, currentLanguage, fillTexts, onLanguageChange } from './texts.js';

const kAppearanceKey = 'currentconn.appearance';
const kAppearances = ['auto', 'light', 'dark'];

// Fills in the two choices in every element that has them.
export function placePreferences() {
  for (const place of document.querySelectorAll('[data-preferences]')) {
    place.append(languageField(), appearanceField());
    fillTexts(place);
  }
}

function languageField() {
  const options = Object.entries(kLanguages).map(([value, name]) =>
    element('option', { value, textContent: name, lang: value }),
  );
  const select = element('select', { className: 'select' }, ...options);
  const show = () => (select.value = currentLanguage());
  select.addEventListener('change', () => changeLanguage(select.value).catch(show));
  onLanguageChange(show);
  show();
  return field('account.language', select);
}

function appearanceField() {
  const options = kAppearances.map((value) =>
    element('option', { value, data: { text: `account.appearance_${value}` } }),
  );
  const select = element('select', { className: 'select', data: { appearanceChoice: '' } }, ...options);
  select.value = appearanceNow();
  select.addEventListener('change', () => changeAppearance(select.value));
  return field('account.appearance', select);
}

function field(textKey, control) {
  return element('label', { className: 'preference' }, element('span', { data: { text: textKey } }), control);
}

function appearanceNow() {
  const remembered = recall(kAppearanceKey);
  return kAppearances.includes(remembered) ? remembered : 'auto';
}

function changeAppearance(value) {
  const isAuto = value === 'auto';
  remember(kAppearanceKey, isAuto ? null : value);
  if (isAuto) delete document.documentElement.dataset.appearance;
  else document.documentElement.dataset.appearance = value;
  for (const select of document.querySelectorAll('[data-appearance-choice]')) select.value = value;
}
