// The npm packages of the tests, which packages.sh puts into build/browser. CURRENTCONN_BROWSER_MODULES names another
// directory that holds a node_modules.
import { createRequire } from 'node:module';
import { pathToFileURL } from 'node:url';

const ownFolder = new URL('../../build/browser/', import.meta.url);
const folder = process.env.CURRENTCONN_BROWSER_MODULES
  ? pathToFileURL(`${process.env.CURRENTCONN_BROWSER_MODULES}/`)
  : ownFolder;

export const requirePackage = createRequire(new URL('package.json', folder));
