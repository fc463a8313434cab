// The languages of the page, each under the name of its file in texts/.
export const kLanguages = Object.freeze({
  en: 'English',
  de: 'Deutsch',
  fr: 'Français',
  es: 'Español',
  ja: '日本語',
  'zh-Hans': '简体中文',
});

// The first of the user's languages that the page supports, or English.
export function chooseLanguage(wanted) {
  for (const tag of wanted) {
    const parts = tag.split('-');
    if (parts[0].toLowerCase() === 'zh') {
      if (!parts.some((part) => ['hant', 'tw', 'hk', 'mo'].includes(part.toLowerCase()))) return 'zh-Hans';
    } else if (Object.hasOwn(kLanguages, parts[0].toLowerCase())) {
      return parts[0].toLowerCase();
    }
  }
  return 'en';
}

// The user's variety of a language of the page, for dates and numbers: British English, Swiss German.
export function localeFor(language, wanted) {
  const [family] = language.split('-');
  const isVariety = (tag) => tag.split('-')[0].toLowerCase() === family && chooseLanguage([tag]) === language;
  return wanted.find(isVariety) ?? language;
}
