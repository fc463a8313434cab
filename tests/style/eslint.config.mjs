// What the page's scripts and their tests are held to.
import { requirePackage } from '../browser/packages.mjs';

const js = requirePackage('@eslint/js');
const globals = requirePackage('globals');

export default [
  {
    ...js.configs.recommended,
    rules: {
      ...js.configs.recommended.rules,
      eqeqeq: 'error',
      'no-implicit-globals': 'error',
      'no-shadow': 'error',
      'no-var': 'error',
      'object-shorthand': 'error',
      'prefer-const': 'error',
    },
  },
  { files: ['web/**/*.js'], languageOptions: { globals: globals.browser } },
  { files: ['tests/**/*.mjs'], languageOptions: { globals: { ...globals.node, ...globals.browser } } },
];
