<?xml version="1.0" encoding="UTF-8"?>
<!-- Presents snapshot.xml as collapsible tables. Written in the working-draft
     XSL dialect that the hosted browser applies; every construct here means
     the same in XSLT 1.0, so the page can also be made with an XSLT 1.0
     processor by switching the namespace. All values from the system are
     written with xsl:value-of, which escapes them. -->
<xsl:stylesheet xmlns:xsl="http://www.w3.org/TR/WD-xsl">
<xsl:template match="/">
<html>
<head>
<meta http-equiv="Content-Type" content="text/html; charset=UTF-8"/>
<title>Crash Report Template</title>
<style type="text/css">
body { text-align: center; font-family: "MS Shell Dlg"; font-size: 9pt; }
table.default { width: 90%; margin-left: auto; margin-right: auto; border-collapse: collapse; border: 1px solid #d0d0d0; font-family: "MS Shell Dlg"; font-size: 9pt; text-align: left; }
table.default td { border: 1px solid #d0d0d0; padding: 2px 4px; vertical-align: top; }
tr.topic td, tr.header td { background-color: #d0d0d0; font-weight: bold; }
td.label { width: 200px; }
div.caption { width: 90%; margin: 12px auto 4px auto; text-align: left; font-weight: bold; }
div.caption a { text-decoration: none; color: #000080; }
span.marker { font-family: "Courier New", monospace; }
div.footer { width: 90%; margin: 0 auto; text-align: right; color: #808080; }
</style>
<script type="text/javascript">
function Marker(id) { return document.getElementById('i' + id); }
/* The links are made with DOM calls rather than written as markup, so this
   script holds no markup characters that an XSL processor could escape. */
function Link(id) {
	var link = document.createElement('a');
	link.href = '#';
	link.onclick = function () { Toggle(id); return false; };
	return link;
}
function Title(id, caption) {
	/* While the page loads, the last script so far is the one running: the
	   links go after it, where its caller stands. */
	var scripts = document.getElementsByTagName('script');
	var here = scripts[scripts.length - 1].parentNode;
	var mark = document.createElement('span');
	mark.className = 'marker';
	mark.id = 'i' + id;
	mark.innerText = (typeof IsPrinterFriendly == 'undefined') ? '+' : '-';
	var marked = Link(id);
	marked.appendChild(mark);
	here.appendChild(marked);
	here.appendChild(document.createTextNode(' '));
	var named = Link(id);
	named.innerText = caption;
	here.appendChild(named);
}
function CheckHide(id) {
	if (typeof IsPrinterFriendly == 'undefined') {
		var e = document.getElementById(id);
		if (e) e.style.display = 'none';
	}
}
function Toggle(id) {
	var e = document.getElementById(id);
	if (!e) return;
	var hidden = e.style.display != 'none';
	e.style.display = hidden ? 'none' : '';
	var m = Marker(id);
	if (m) m.innerText = hidden ? '+' : '-';
}
</script>
</head>
<body>
<xsl:for-each select="crashrpt/error_info">
<div class="caption"><script type="text/javascript">Title('error_info', 'Error');</script></div>
<table class="default" id="error_info">
<tr><td class="label" width="200">Exception Code:</td><td><xsl:value-of select="@code"/></td></tr>
<tr><td class="label" width="200">Address:</td><td><xsl:value-of select="@address"/></td></tr>
<tr><td class="label" width="200">Location:</td><td><xsl:value-of select="@location"/></td></tr>
<tr><td class="label" width="200">Size:</td><td><xsl:value-of select="@size"/></td></tr>
<tr><td class="label" width="200">Version:</td><td><xsl:value-of select="@version"/></td></tr>
<tr><td class="label" width="200">Register:</td><td><xsl:for-each select="reg"><xsl:value-of select="@name"/> <xsl:value-of select="."/><br/></xsl:for-each></td></tr>
<tr><td colspan="2"><table class="default"><tr class="topic"><td>Stack</td></tr><xsl:for-each select="callstack"><tr><td><xsl:value-of select="."/></td></tr></xsl:for-each></table></td></tr>
</table>
<script type="text/javascript">CheckHide('error_info');</script>
</xsl:for-each>
<xsl:for-each select="crashrpt/system_info">
<div class="caption"><script type="text/javascript">Title('system_info', 'System');</script></div>
<table class="default" id="system_info">
<xsl:for-each select="os">
<tr><td class="label" width="200">OS:</td><td><xsl:value-of select="@model"/></td></tr>
<tr><td class="label" width="200">Version:</td><td><xsl:value-of select="@version"/></td></tr>
<tr><td class="label" width="200">Service Pack:</td><td><xsl:value-of select="@service_pack"/></td></tr>
<tr><td class="label" width="200">Language:</td><td><xsl:value-of select="@language"/></td></tr>
<tr><td class="label" width="200">Domain/Workgroup:</td><td><xsl:value-of select="@domain_name"/></td></tr>
<tr><td class="label" width="200">IE Version:</td><td><xsl:value-of select="@ie_version"/></td></tr>
</xsl:for-each>
</table>
<script type="text/javascript">CheckHide('system_info');</script>
</xsl:for-each>
<xsl:for-each select="crashrpt/software_info">
<div class="caption"><script type="text/javascript">Title('software_info', 'Software');</script></div>
<table class="default" id="software_info">
<tr class="topic"><td>Name</td><td>Description</td><td>Version</td><td>Path</td></tr>
<xsl:for-each select="software">
<tr><td><xsl:value-of select="."/></td><td><xsl:value-of select="@description"/></td><td><xsl:value-of select="@version"/></td><td><xsl:value-of select="@location"/></td></tr>
</xsl:for-each>
</table>
<script type="text/javascript">CheckHide('software_info');</script>
</xsl:for-each>
<xsl:for-each select="crashrpt/hardware_info">
<div class="caption"><script type="text/javascript">Title('hardware_info', 'Hardware');</script></div>
<table class="default" id="hardware_info">
<xsl:for-each select="cpu">
<tr><td class="label" width="200">CPU Num:</td><td><xsl:value-of select="@number"/></td></tr>
<tr><td class="label" width="200">CPU Modal:</td><td><xsl:value-of select="."/></td></tr>
</xsl:for-each>
<xsl:for-each select="memory">
<tr><td class="label" width="200">Physical Memory:</td><td><xsl:value-of select="@size"/></td></tr>
<tr><td class="label" width="200">Available Memory:</td><td><xsl:value-of select="@available"/></td></tr>
</xsl:for-each>
</table>
<script type="text/javascript">CheckHide('hardware_info');</script>
</xsl:for-each>
<xsl:for-each select="crashrpt/process_info">
<div class="caption"><script type="text/javascript">Title('process_info', 'Process');</script></div>
<table class="default" id="process_info">
<tr class="topic"><td>Path</td><td>Command</td><td>ID</td><td>Thread Num</td><td>Memory Usage</td><td>Service</td><td>Modules</td></tr>
<xsl:for-each select="process">
<tr><td><xsl:value-of select="@full_path"/></td><td><xsl:value-of select="@command_line"/></td><td><xsl:value-of select="@id"/></td><td><xsl:value-of select="@threadnum"/></td><td><xsl:value-of select="@memory_usage"/></td><td><xsl:value-of select="@service_name"/></td>
<td><script type="text/javascript">Title('<xsl:value-of select="@id"/>', '...');</script>
<div class="modules"><xsl:attribute name="id"><xsl:value-of select="@id"/></xsl:attribute><xsl:for-each select="dll"><xsl:value-of select="."/><br/></xsl:for-each></div>
<script type="text/javascript">CheckHide('<xsl:value-of select="@id"/>');</script></td></tr>
</xsl:for-each>
</table>
<script type="text/javascript">CheckHide('process_info');</script>
</xsl:for-each>
<xsl:for-each select="crashrpt/service_info">
<div class="caption"><script type="text/javascript">Title('service_info', 'Service');</script></div>
<table class="default" id="service_info">
<tr class="topic"><td>Name</td><td>Display Name</td><td>Description</td><td>Start Type</td><td>Status</td><td>Command</td><td>Account</td></tr>
<xsl:for-each select="item">
<tr><td><xsl:value-of select="."/></td><td><xsl:value-of select="@displayname"/></td><td><xsl:value-of select="@description"/></td><td><xsl:value-of select="@start_type"/></td><td><xsl:value-of select="@start_status"/></td><td><xsl:value-of select="@command_line"/></td><td><xsl:value-of select="@account"/></td></tr>
</xsl:for-each>
</table>
<script type="text/javascript">CheckHide('service_info');</script>
</xsl:for-each>
<xsl:for-each select="crashrpt/driver_info">
<div class="caption"><script type="text/javascript">Title('driver_info', 'Driver');</script></div>
<table class="default" id="driver_info">
<tr class="topic"><td>Name</td><td>Display Name</td><td>Description</td><td>Start Type</td><td>Status</td><td>Command</td></tr>
<xsl:for-each select="item">
<tr><td><xsl:value-of select="."/></td><td><xsl:value-of select="@displayname"/></td><td><xsl:value-of select="@description"/></td><td><xsl:value-of select="@start_type"/></td><td><xsl:value-of select="@start_status"/></td><td><xsl:value-of select="@command_line"/></td></tr>
</xsl:for-each>
</table>
<script type="text/javascript">CheckHide('driver_info');</script>
</xsl:for-each>
<xsl:for-each select="crashrpt/startup_info">
<div class="caption"><script type="text/javascript">Title('startup_info', 'Startup');</script></div>
<table class="default" id="startup_info">
<xsl:for-each select="startup">
<tr class="header"><td colspan="2"><xsl:value-of select="@name"/></td></tr>
<xsl:for-each select="command">
<tr><td><xsl:value-of select="."/></td><td><xsl:value-of select="@path"/></td></tr>
</xsl:for-each>
</xsl:for-each>
</table>
<script type="text/javascript">CheckHide('startup_info');</script>
</xsl:for-each>
<xsl:for-each select="crashrpt/disk_info">
<div class="caption"><script type="text/javascript">Title('disk_info', 'Disk');</script></div>
<table class="default" id="disk_info">
<tr class="topic"><td>分区</td><td>Name</td><td>File System</td><td>Size</td><td>Available Size</td></tr>
<xsl:for-each select="partition">
<tr><td><xsl:value-of select="."/></td><td><xsl:value-of select="@name"/></td><td><xsl:value-of select="@filesystem"/></td><td><xsl:value-of select="@size"/></td><td><xsl:value-of select="@available"/></td></tr>
</xsl:for-each>
</table>
<script type="text/javascript">CheckHide('disk_info');</script>
</xsl:for-each>
<xsl:for-each select="crashrpt/netcard_info">
<div class="caption"><script type="text/javascript">Title('netcard_info', 'Network');</script></div>
<table class="default" id="netcard_info">
<tr class="topic"><td>Name</td><td>Description</td><td>Status</td><td>MAC</td><td>IP</td><td>Gateway</td></tr>
<xsl:for-each select="netcard">
<tr><td><xsl:value-of select="@name"/></td><td><xsl:value-of select="@description"/></td><td><xsl:value-of select="@status"/></td><td><xsl:value-of select="@mac_address"/></td>
<td><xsl:for-each select="ip"><xsl:value-of select="."/><br/></xsl:for-each></td>
<td><xsl:for-each select="gateway"><xsl:value-of select="."/><br/></xsl:for-each></td></tr>
</xsl:for-each>
</table>
<script type="text/javascript">CheckHide('netcard_info');</script>
</xsl:for-each>
<xsl:for-each select="crashrpt/port_info">
<div class="caption"><script type="text/javascript">Title('port_info', 'Port');</script></div>
<table class="default" id="port_info">
<tr class="topic"><td>Protocal</td><td>Status</td><td>Local IP</td><td>Local Port</td><td>Remote IP</td><td>Remote Port</td><td>Path</td><td>PID</td></tr>
<xsl:for-each select="port">
<tr><td><xsl:value-of select="@protocal"/></td><td><xsl:value-of select="@status"/></td><td><xsl:value-of select="@localip"/></td><td><xsl:value-of select="@localport"/></td><td><xsl:value-of select="@remoteip"/></td><td><xsl:value-of select="@remoteport"/></td><td><xsl:value-of select="@location"/></td><td><xsl:value-of select="@processid"/></td></tr>
</xsl:for-each>
</table>
<script type="text/javascript">CheckHide('port_info');</script>
</xsl:for-each>
<xsl:for-each select="crashrpt/winsock_info">
<div class="caption"><script type="text/javascript">Title('winsock_info', 'WinSock');</script></div>
<table class="default" id="winsock_info">
<tr class="topic"><td>Name</td><td>Description</td><td>Company</td><td>Location</td><td>Size</td></tr>
<xsl:for-each select="winsock">
<tr><td><xsl:value-of select="."/></td><td><xsl:value-of select="@description"/></td><td><xsl:value-of select="@published"/></td><td><xsl:value-of select="@location"/></td><td><xsl:value-of select="@size"/></td></tr>
</xsl:for-each>
</table>
<script type="text/javascript">CheckHide('winsock_info');</script>
</xsl:for-each>
<xsl:for-each select="crashrpt/ieplugin_info">
<div class="caption"><script type="text/javascript">Title('ieplugin_info', 'Internet Explore');</script></div>
<table class="default" id="ieplugin_info">
<tr class="topic"><td>Name</td><td>Description</td><td>Company</td><td>Location</td><td>Size</td></tr>
<xsl:for-each select="ieplugin">
<tr><td><xsl:value-of select="."/></td><td><xsl:value-of select="@description"/></td><td><xsl:value-of select="@published"/></td><td><xsl:value-of select="@location"/></td><td><xsl:value-of select="@size"/></td></tr>
</xsl:for-each>
</table>
<script type="text/javascript">CheckHide('ieplugin_info');</script>
</xsl:for-each>
<hr/>
<div class="footer">System snapshot by Vexlon Inspector 1.3 - <a href="https://www.vexlon.example/">www.vexlon.example</a></div>
</body>
</html>
</xsl:template>
</xsl:stylesheet>
