// The farm office's page.
import {render} from 'preact';
import {start} from './model/session';
import {language, t} from './texts';
import {App} from './views/App';
import './style.css';

document.documentElement.lang = language;
document.title = t('title');
start();
render(<App />, document.getElementById('page') as HTMLElement);
