// Attributes of vendors as their own documents give them, written down independently of the shipped
// dictionary.
#pragma once

#include <vector>

#include "quarn/radius/code_path.h"
#include "quarn/radius/value_type.h"

namespace quarn::test {

struct VendorFact {
    const char* name;
    subscriber::radius::CodePath code;
    subscriber::radius::ValueType type;
};

/// Of an enumerated attribute the type here is that of its number.
inline const std::vector<VendorFact>& vendor_facts() {
    using subscriber::radius::ValueType;
    static const std::vector<VendorFact> facts = {
        // Microsoft: RFC 2548
        {"MS-CHAP-Response", {26, 311, 1}, ValueType::Octets},
        {"MS-MPPE-Encryption-Policy", {26, 311, 7}, ValueType::Integer},
        {"MS-CHAP-Challenge", {26, 311, 11}, ValueType::Octets},
        {"MS-MPPE-Send-Key", {26, 311, 16}, ValueType::Octets},
        {"MS-MPPE-Recv-Key", {26, 311, 17}, ValueType::Octets},
        {"MS-CHAP2-Response", {26, 311, 25}, ValueType::Octets},
        {"MS-CHAP2-Success", {26, 311, 26}, ValueType::Octets},
        {"MS-Primary-DNS-Server", {26, 311, 28}, ValueType::Ipv4Addr},
        {"MS-Secondary-NBNS-Server", {26, 311, 31}, ValueType::Ipv4Addr},
        // Cisco: the vendor-specific attributes of IOS, and of H.323 gateways
        {"Cisco-AVPair", {26, 9, 1}, ValueType::Text},
        {"Cisco-NAS-Port", {26, 9, 2}, ValueType::Text},
        {"h323-remote-address", {26, 9, 23}, ValueType::Text},
        {"h323-credit-time", {26, 9, 102}, ValueType::Text},
        // WISPr: Best Current Practices for Wireless Internet Service Provider Roaming, annex D
        {"WISPr-Location-ID", {26, 14122, 1}, ValueType::Text},
        {"WISPr-Redirection-URL", {26, 14122, 4}, ValueType::Text},
        {"WISPr-Bandwidth-Max-Up", {26, 14122, 7}, ValueType::Integer},
        {"WISPr-Bandwidth-Max-Down", {26, 14122, 8}, ValueType::Integer},
        // Aruba: ArubaOS User Guide
        {"Aruba-User-Role", {26, 14823, 1}, ValueType::Text},
        {"Aruba-User-Vlan", {26, 14823, 2}, ValueType::Integer},
        {"Aruba-Priv-Admin-User", {26, 14823, 3}, ValueType::Integer},
        {"Aruba-Admin-Role", {26, 14823, 4}, ValueType::Text},
        {"Aruba-Essid-Name", {26, 14823, 5}, ValueType::Text},
        {"Aruba-Location-Id", {26, 14823, 6}, ValueType::Text},
        // MikroTik: RouterOS manual, RADIUS client
        {"Mikrotik-Recv-Limit", {26, 14988, 1}, ValueType::Integer},
        {"Mikrotik-Group", {26, 14988, 3}, ValueType::Text},
        {"Mikrotik-Rate-Limit", {26, 14988, 8}, ValueType::Text},
        {"Mikrotik-Address-List", {26, 14988, 19}, ValueType::Text},
        // 3GPP TS 29.061, section 16.4.7
        {"3GPP-IMSI", {26, 10415, 1}, ValueType::Text},
        {"3GPP-SGSN-Address", {26, 10415, 6}, ValueType::Ipv4Addr},
        {"3GPP-GGSN-Address", {26, 10415, 7}, ValueType::Ipv4Addr},
        {"3GPP-NSAPI", {26, 10415, 10}, ValueType::Text},
        {"3GPP-RAT-Type", {26, 10415, 21}, ValueType::Byte},
        // ADSL Forum: RFC 4679
        {"ADSL-Agent-Circuit-Id", {26, 3561, 1}, ValueType::Octets},
        {"ADSL-Agent-Remote-Id", {26, 3561, 2}, ValueType::Octets},
        {"Actual-Data-Rate-Upstream", {26, 3561, 129}, ValueType::Integer},
        {"Actual-Data-Rate-Downstream", {26, 3561, 130}, ValueType::Integer},
        // Ruckus
        {"Ruckus-User-Groups", {26, 25053, 1}, ValueType::Text},
        {"Ruckus-Sta-RSSI", {26, 25053, 2}, ValueType::Integer},
        {"Ruckus-SSID", {26, 25053, 3}, ValueType::Text},
        // HP: ProCurve Access Security Guide; RFC 4675 is its model
        {"HP-Privilege-Level", {26, 11, 1}, ValueType::Integer},
        {"HP-Command-String", {26, 11, 2}, ValueType::Text},
        {"HP-Nas-Filter-Rule", {26, 11, 61}, ValueType::Text},
        {"HP-Egress-VLANID", {26, 11, 64}, ValueType::Integer},
        {"HP-Egress-VLAN-Name", {26, 11, 65}, ValueType::Text},
        // Fortinet
        {"Fortinet-Group-Name", {26, 12356, 1}, ValueType::Text},
        {"Fortinet-Client-IP-Address", {26, 12356, 2}, ValueType::Ipv4Addr},
        {"Fortinet-Vdom-Name", {26, 12356, 3}, ValueType::Text},
        {"Fortinet-Access-Profile", {26, 12356, 6}, ValueType::Text},
        // Palo Alto Networks
        {"PaloAlto-Admin-Role", {26, 25461, 1}, ValueType::Text},
        {"PaloAlto-Admin-Access-Domain", {26, 25461, 2}, ValueType::Text},
        {"PaloAlto-Panorama-Admin-Role", {26, 25461, 3}, ValueType::Text},
        {"PaloAlto-User-Group", {26, 25461, 5}, ValueType::Text},
        // Juniper: Junos OS administration
        {"Juniper-Local-User-Name", {26, 2636, 1}, ValueType::Text},
        {"Juniper-Allow-Commands", {26, 2636, 2}, ValueType::Text},
        {"Juniper-Deny-Commands", {26, 2636, 3}, ValueType::Text},
        // Airespace: Cisco Wireless LAN Controller Configuration Guide
        {"Airespace-Wlan-Id", {26, 14179, 1}, ValueType::Integer},
        {"Airespace-QOS-Level", {26, 14179, 2}, ValueType::Integer},
        {"Airespace-Interface-Name", {26, 14179, 5}, ValueType::Text},
        {"Airespace-ACL-Name", {26, 14179, 6}, ValueType::Text},
        // Meraki
        {"Meraki-Device-Name", {26, 29671, 1}, ValueType::Text},
        // Arista EOS
        {"Arista-AVPair", {26, 30065, 1}, ValueType::Text},
        // Extreme Networks: ExtremeXOS User Guide
        {"Extreme-CLI-Authorization", {26, 1916, 201}, ValueType::Integer},
        {"Extreme-Netlogin-Vlan", {26, 1916, 203}, ValueType::Text},
        // H3C
        {"H3C-Exec-Privilege", {26, 25506, 29}, ValueType::Integer},
        // F5: BIG-IP TMOS
        {"F5-LTM-User-Role", {26, 3375, 1}, ValueType::Integer},
        {"F5-LTM-User-Partition", {26, 3375, 3}, ValueType::Text},
        {"F5-LTM-User-Shell", {26, 3375, 5}, ValueType::Text},
        // Citrix NetScaler
        {"Citrix-User-Groups", {26, 66, 16}, ValueType::Text},
        // Foundry
        {"Foundry-Privilege-Level", {26, 1991, 1}, ValueType::Integer},
        {"Foundry-Command-String", {26, 1991, 2}, ValueType::Text},
        // Brocade Fabric OS
        {"Brocade-Auth-Role", {26, 1588, 1}, ValueType::Text},
        // Aerohive
        {"AH-HM-Admin-Group-Id", {26, 26928, 1}, ValueType::Integer},
        // ChilliSpot
        {"ChilliSpot-Max-Total-Octets", {26, 14559, 3}, ValueType::Integer},
        {"ChilliSpot-Bandwidth-Max-Up", {26, 14559, 4}, ValueType::Integer},
        // Check Point Gaia
        {"CP-Gaia-User-Role", {26, 2620, 229}, ValueType::Text},
        {"CP-Gaia-SuperUser-Access", {26, 2620, 230}, ValueType::Integer},
        // SonicWall
        {"SonicWall-User-Privilege", {26, 8741, 1}, ValueType::Integer},
        {"SonicWall-User-Group", {26, 8741, 3}, ValueType::Text},
        // D-Link
        {"Dlink-User-Level", {26, 171, 1}, ValueType::Integer},
        {"Dlink-Ingress-Bandwidth-Assignment", {26, 171, 2}, ValueType::Integer},
        // Colubris
        {"Colubris-AVPair", {26, 8744, 0}, ValueType::Text},
        // Huawei
        {"Huawei-Input-Average-Rate", {26, 2011, 2}, ValueType::Integer},
        {"Huawei-Output-Average-Rate", {26, 2011, 5}, ValueType::Integer},
        {"Huawei-Exec-Privilege", {26, 2011, 29}, ValueType::Integer},
        // Juniper ERX: JunosE
        {"ERX-Virtual-Router-Name", {26, 4874, 1}, ValueType::Text},
        {"ERX-Address-Pool-Name", {26, 4874, 2}, ValueType::Text},
        {"ERX-Primary-Dns", {26, 4874, 4}, ValueType::Ipv4Addr},
        {"ERX-Ingress-Policy-Name", {26, 4874, 10}, ValueType::Text},
        // Redback SEOS
        {"Client-DNS-Pri", {26, 2352, 1}, ValueType::Ipv4Addr},
        {"Context-Name", {26, 2352, 4}, ValueType::Text},
        // Nokia Service Router
        {"Alc-Primary-Dns", {26, 6527, 9}, ValueType::Ipv4Addr},
        {"Alc-Subsc-ID-Str", {26, 6527, 11}, ValueType::Text},
        {"Alc-Subsc-Prof-Str", {26, 6527, 12}, ValueType::Text},
        {"Alc-SLA-Prof-Str", {26, 6527, 13}, ValueType::Text},
        // Cisco ASA
        {"ASA-Simultaneous-Logins", {26, 3076, 2}, ValueType::Integer},
        {"ASA-Group-Policy", {26, 3076, 25}, ValueType::Text},
        // Ascend
        {"Ascend-Maximum-Time", {26, 529, 194}, ValueType::Integer},
        {"Ascend-Data-Rate", {26, 529, 197}, ValueType::Integer},
        {"Ascend-Xmit-Rate", {26, 529, 255}, ValueType::Integer},
        // Starent
        {"SN-VPN-ID", {26, 8164, 1}, ValueType::Integer},
        {"SN-VPN-Name", {26, 8164, 2}, ValueType::Text},
        // WiMAX Forum
        {"WiMAX-MSK", {26, 24757, 5}, ValueType::Octets},
        // 3GPP2 X.S0011
        {"3GPP2-Home-Agent-IP-Address", {26, 5535, 7}, ValueType::Ipv4Addr},
        // CableLabs: PacketCable event messages
        {"CableLabs-Event-Message", {26, 4491, 1}, ValueType::Octets},
        // Nomadix
        {"Nomadix-Bw-Up", {26, 3309, 1}, ValueType::Integer},
        {"Nomadix-Bw-Down", {26, 3309, 2}, ValueType::Integer},
        // Livingston
        {"LE-Terminate-Detail", {26, 307, 2}, ValueType::Text},
        // Packeteer
        {"Packeteer-AVPair", {26, 2334, 1}, ValueType::Text},
        // Quintum
        {"Quintum-AVPair", {26, 6618, 1}, ValueType::Text},
        // NetScreen
        {"NS-Admin-Privilege", {26, 3224, 1}, ValueType::Integer},
        {"NS-VSYS-Name", {26, 3224, 2}, ValueType::Text},
        // Xylan
        {"Xylan-Auth-Group", {26, 800, 1}, ValueType::Integer},
        // Cisco BBSM
        {"CBBSM-Bandwidth", {26, 5263, 1}, ValueType::Integer},
        // pfSense
        {"pfSense-Bandwidth-Max-Up", {26, 13644, 1}, ValueType::Integer},
        // Riverbed
        {"Riverbed-Local-User", {26, 17163, 1}, ValueType::Text},
        // Eltex
        {"Eltex-AVPair", {26, 35265, 1}, ValueType::Text},
        // Dell EMC
        {"DellEMC-AVpair", {26, 674, 1}, ValueType::Text},
    };
    return facts;
}

}  // namespace quarn::test
